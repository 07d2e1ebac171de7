#include <iostream>

#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/toolkit/color.h"

int main() {
  std::cout << "core only" << std::endl;
}
