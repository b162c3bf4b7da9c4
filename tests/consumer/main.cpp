// Built against the installed package by the consumer_install test.
#include <iostream>

#include <kyo/kyoutils.h>

int main() {
  std::cout << "kyoutils " << kyo::version() << " ok\n";
  return 0;
}
