// Does one side of the document comparison so many times, for an instruction counter to watch.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/document_work.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s rows|parse BYTES TIMES\n", argv[0]);
    return 2;
  }
  const bool rows = std::strcmp(argv[1], "rows") == 0;
  const auto document = veltrane::bench::generateDocument(std::strtoull(argv[2], nullptr, 10));
  std::size_t made = 0;
  for (long times = std::atol(argv[3]); times > 0; --times) {
    made += rows ? veltrane::bench::documentToRows(document.text)
                 : veltrane::bench::bareParse(document.text);
  }
  std::printf("%zu\n", made);
}
