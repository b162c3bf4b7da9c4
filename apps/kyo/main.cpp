#include <iostream>
#include <string>
#include <vector>

#include "kyo/commands.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  return kyo::cli::run_kyo(args, std::cout, std::cerr);
}
