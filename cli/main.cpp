#include <iostream>

#include "cli/zolt.h"

int main(int argc, char** argv) { return zolt_cli::run(argc, argv, std::cout, std::cerr); }
