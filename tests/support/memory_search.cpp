#include "tests/support/memory_search.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string_view>

#include "veltrane/base/secret.h"

namespace veltrane::testing {

int countInMemory(const std::string& turned) {
  std::ifstream maps("/proc/self/maps");
  const int memory = ::open("/proc/self/mem", O_RDONLY);
  int count = 0;
  for (std::string line; std::getline(maps, line);) {
    std::size_t first = 0;
    std::size_t end = 0;
    std::sscanf(line.c_str(), "%zx-%zx", &first, &end);
    constexpr std::size_t kMost = std::size_t{1} << 28;  // a sanitizer's own are larger
    if (line.find(" rw") == std::string::npos || end - first > kMost) continue;
    std::string bytes(end - first, '\0');
    const auto size = ::pread(memory, bytes.data(), bytes.size(), static_cast<off_t>(first));
    const std::string_view read(bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    for (auto i = read.find(turned.back()); i != read.npos; i = read.find(turned.back(), i + 1)) {
      if (read.size() - i < turned.size()) break;
      if (std::equal(turned.rbegin(), turned.rend(), &read[i])) ++count;
    }
    Secret::wipe(bytes);
  }
  ::close(memory);
  return count;
}

}  // namespace veltrane::testing
