// zolt-switch-sim: a simulated managed switch that answers the library's JSON-RPC calls.
// Prints "listening on HOST:PORT" once it serves, and stops (saving its state file, if any)
// on SIGINT or SIGTERM.

#include <getopt.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "sim/simulator.h"

namespace {

const char kUsage[] =
    "usage: zolt-switch-sim [options]\n"
    "  --host HOST       address to listen on (default 127.0.0.1)\n"
    "  --port N          TCP port; 0 picks a free one (default 0)\n"
    "  --user NAME       the users table's first account (default admin)\n"
    "  --password TEXT   its password (default admin)\n"
    "  --ports N         number of switch ports, named \"Gi 1/1\" .. (default 8)\n"
    "  --state FILE      load the state from FILE at start if it exists, save it at exit\n"
    "                    and when the running configuration is copied to the startup one\n"
    "  --fault MODE      none | latency:MS | html500 | drop | status:N | error:METHOD:CODE\n"
    "                    (default none; error: that method answers an error of that code)\n"
    "  --log             one line per request on standard error (never credentials)\n"
    "  --help            this text\n";

int number(const char* flag, const char* text, int low, int high) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < low || value > high) {
        throw std::invalid_argument(std::string(flag) + " wants a number from " +
                                    std::to_string(low) + " to " + std::to_string(high));
    }
    return static_cast<int>(value);
}

zolt_sim::Options parse_options(int argc, char** argv) {
    enum { host = 1, port, user, password, ports, state, fault, log, help };
    static const option kLong[] = {
        {"host", required_argument, nullptr, host},
        {"port", required_argument, nullptr, port},
        {"user", required_argument, nullptr, user},
        {"password", required_argument, nullptr, password},
        {"ports", required_argument, nullptr, ports},
        {"state", required_argument, nullptr, state},
        {"fault", required_argument, nullptr, fault},
        {"log", no_argument, nullptr, log},
        {"help", no_argument, nullptr, help},
        {nullptr, 0, nullptr, 0},
    };
    zolt_sim::Options options;
    int flag = 0;
    while ((flag = getopt_long(argc, argv, "", kLong, nullptr)) != -1) {
        switch (flag) {
            case host:
                options.host = optarg;
                break;
            case port:
                options.port = number("--port", optarg, 0, 65535);
                break;
            case user:
                options.user = optarg;
                break;
            case password:
                options.password = optarg;
                break;
            case ports:
                options.ports = number("--ports", optarg, 1, 512);
                break;
            case state:
                options.state_file = optarg;
                break;
            case fault:
                options.fault = zolt_sim::parse_fault(optarg);
                break;
            case log:
                options.log = true;
                break;
            case help:
                std::fputs(kUsage, stdout);
                std::exit(0);
            default:
                throw std::invalid_argument("unknown option (see --help)");
        }
    }
    if (optind < argc)
        throw std::invalid_argument(std::string("unexpected argument ") + argv[optind]);
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    zolt_sim::Options options;
    try {
        options = parse_options(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zolt-switch-sim: %s\n%s", e.what(), kUsage);
        return 2;
    }

    // Block the stop signals before any server thread exists, so that every thread inherits the
    // mask and only the sigwait below receives them.
    sigset_t stop_signals;
    sigemptyset(&stop_signals);
    sigaddset(&stop_signals, SIGINT);
    sigaddset(&stop_signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

    try {
        zolt_sim::Simulator simulator(options);
        const int port = simulator.start();
        std::printf("listening on %s:%d\n", options.host.c_str(), port);
        std::fflush(stdout);
        int received = 0;
        sigwait(&stop_signals, &received);
        simulator.stop();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zolt-switch-sim: %s\n", e.what());
        return 1;
    }
    return 0;
}
