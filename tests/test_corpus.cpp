// Replays the worked exchanges of tests/corpus (the format is in tests/corpus/README.md): a local
// HTTP server answers with the written answer, the typed function is called through the
// generated invoker, and the posted text, the return code and the output (or the exception) must
// be exactly as written.

#include <dirent.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "client/zoltclient.h"
#include "support/test_server.h"
#include "support/time_zone.h"
#include "tools/invoke.h"

#ifndef ZOLT_CORPUS_DIR
#error "ZOLT_CORPUS_DIR names the corpus directory"
#endif
#ifndef ZOLT_MANIFEST
#error "ZOLT_MANIFEST names the generated manifest of typed functions"
#endif

namespace {

struct Exchange {
    std::string file;
    int line = 0;  // of its "exchange" line
    std::string title;
    std::string call;
    std::string zone;  // TZ for this exchange; empty keeps the process's own
    std::string args = "[]";
    std::string request;
    std::string answer;
    int status = 200;
    bool has_return = false;
    int code = 0;
    bool has_output = false;
    std::string output;
    std::string throws_type;
    std::string throws_text;
};

std::vector<std::string> corpus_files() {
    std::vector<std::string> names;
    if (DIR* dir = opendir(ZOLT_CORPUS_DIR)) {
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name.size() > 7 && name.compare(name.size() - 7, 7, ".corpus") == 0) {
                names.push_back(name);
            }
        }
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string trim(const std::string& text) {
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// Reads one file; a line the format does not allow throws std::runtime_error naming the line.
std::vector<Exchange> read_corpus(const std::string& name) {
    std::ifstream in(std::string(ZOLT_CORPUS_DIR) + "/" + name);
    if (!in) throw std::runtime_error(name + ": cannot be read");
    std::vector<Exchange> out;
    std::string keyword;  // the keyword whose text indented lines continue
    std::string line;
    int number = 0;
    auto fail = [&](const std::string& why) {
        throw std::runtime_error(name + ":" + std::to_string(number) + ": " + why);
    };
    auto text_of = [&](Exchange& ex) -> std::string* {
        if (keyword == "args") return &ex.args;
        if (keyword == "request") return &ex.request;
        if (keyword == "answer") return &ex.answer;
        if (keyword == "output") return &ex.output;
        return nullptr;
    };
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == ' ') {
            if (out.empty() || text_of(out.back()) == nullptr) fail("an indented line here");
            if (line.compare(0, 4, "    ") != 0) fail("a text line is indented by four blanks");
            std::string* text = text_of(out.back());
            if (!text->empty()) *text += "\n";
            *text += line.substr(4);
            continue;
        }
        const auto blank = line.find_first_of(" \t");
        keyword = line.substr(0, blank);
        const std::string rest = blank == std::string::npos ? "" : trim(line.substr(blank));
        if (keyword == "exchange") {
            out.emplace_back();
            out.back().file = name;
            out.back().line = number;
            out.back().title = rest;
            continue;
        }
        if (out.empty()) fail("the file must start with an exchange line");
        Exchange& ex = out.back();
        if (keyword == "call") {
            ex.call = rest;
        } else if (keyword == "args" || keyword == "output") {
            *text_of(ex) = rest;
            ex.has_output = ex.has_output || keyword == "output";
        } else if (keyword == "request" || keyword == "answer") {
            if (!rest.empty()) fail("the text of " + keyword + " goes on the lines below");
        } else if (keyword == "zone") {
            ex.zone = rest;
        } else if (keyword == "status") {
            ex.status = std::stoi(rest);
        } else if (keyword == "return") {
            ex.has_return = true;
            ex.code = std::stoi(rest);
        } else if (keyword == "throws") {
            const auto space = rest.find(' ');
            ex.throws_type = rest.substr(0, space);
            ex.throws_text = space == std::string::npos ? "" : rest.substr(space + 1);
        } else {
            fail("unknown keyword '" + keyword + "'");
        }
    }
    for (Exchange& ex : out) {
        if (!ex.request.empty()) ex.request += "\n";
    }
    return out;
}

Json::Value json_of(const std::string& text, const std::string& what) {
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        throw std::runtime_error(what + " is not JSON: " + errors);
    }
    return value;
}

// Compared as compact text: JSON numbers read from text and those the library writes differ in
// JsonCpp's signedness type, not in value.
std::string compact(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, value);
}

// The standard class an exception is of; the library's own classes derive from these and keep
// their texts.
std::string exception_type(const std::exception& e) {
    if (dynamic_cast<const std::invalid_argument*>(&e) != nullptr) return "invalid_argument";
    if (dynamic_cast<const std::logic_error*>(&e) != nullptr) return "logic_error";
    if (dynamic_cast<const std::runtime_error*>(&e) != nullptr) return "runtime_error";
    return typeid(e).name();
}

void replay(zolt_test::TestServer& server, void* handle, const Exchange& ex) {
    SCOPED_TRACE(ex.file + ":" + std::to_string(ex.line) + ": " + ex.title);
    const zolt_tool::Invoker* invoker = zolt_tool::find_invoker(ex.call);
    ASSERT_NE(invoker, nullptr) << "no typed function '" << ex.call << "'";
    ASSERT_NE(ex.has_return, !ex.throws_type.empty()) << "give either return or throws";
    const Json::Value args = json_of(ex.args, "args");
    server.respond(ex.status, ex.answer);
    const std::size_t before = server.count();
    const zolt_test::TimeZoneGuard zone;
    if (!ex.zone.empty()) zolt_test::TimeZoneGuard::set(ex.zone.c_str());

    Json::Value output;
    int code = -999;
    std::string thrown_type;
    std::string thrown_text;
    try {
        code = invoker->invoke(handle, args, &output);
    } catch (const std::exception& e) {
        thrown_type = exception_type(e);
        thrown_text = e.what();
    }
    ASSERT_EQ(server.count(), before + 1) << "one request is posted";
    EXPECT_EQ(server.last().body, ex.request);
    if (ex.has_return) {
        EXPECT_EQ(thrown_type + thrown_text, "") << "no exception";
        EXPECT_EQ(code, ex.code);
        if (ex.has_output) {
            EXPECT_EQ(compact(output), compact(json_of(ex.output, "output")));
        }
    } else {
        EXPECT_EQ(thrown_type, ex.throws_type);
        EXPECT_EQ(thrown_text, ex.throws_text);
    }
}

class Corpus : public zolt_test::ClientTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(Corpus, EveryExchangeReplaysExactly) {
    const std::vector<Exchange> exchanges = read_corpus(GetParam());
    EXPECT_FALSE(exchanges.empty());
    for (const Exchange& ex : exchanges) replay(server, handle(), ex);
}

// The families of the schema, from the generator's manifest (first column, after the heading).
std::set<std::string> schema_families() {
    std::ifstream in(ZOLT_MANIFEST);
    if (!in) throw std::runtime_error(std::string(ZOLT_MANIFEST) + ": cannot be read");
    std::set<std::string> families;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        if (!line.empty()) families.insert(line.substr(0, line.find('\t')));
    }
    return families;
}

// Every family has worked exchanges, and every corpus file is named after a family, so a file
// whose name is mistyped is not silently left out.
TEST(CorpusFiles, OnePerFamilyOfTheSchema) {
    const std::set<std::string> families = schema_families();
    std::set<std::string> files;
    for (const std::string& name : corpus_files()) files.insert(name.substr(0, name.size() - 7));
    ASSERT_FALSE(families.empty());
    for (const std::string& family : families) {
        EXPECT_EQ(files.count(family), 1U) << "no tests/corpus/" << family << ".corpus";
    }
    for (const std::string& file : files) {
        EXPECT_EQ(families.count(file), 1U) << file << ".corpus names no family of the schema";
    }
}

INSTANTIATE_TEST_SUITE_P(CorpusFile, Corpus, ::testing::ValuesIn(corpus_files()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param.substr(0, info.param.size() - 7);
                             for (char& c : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return name;
                         });

}  // namespace
