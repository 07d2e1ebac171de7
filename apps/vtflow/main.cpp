#include <fcntl.h>

#include <iostream>

#include "apps/vtflow/tool.h"
#include "platform/opencv/file_camera.h"

namespace {

/// A standard stream that the shell closed would be taken over by the next file opened, a socket
/// say.
void openStandardStreams() {
  for (const int fd : {0, 1, 2}) {
    if (fcntl(fd, F_GETFD) < 0) open("/dev/null", fd == 0 ? O_RDONLY : O_WRONLY);
  }
}

}  // namespace

int main(int argc, char** argv) {
  openStandardStreams();
  veltrane::opencv::restrainFileReaders();
  return veltrane::tool::runTool(argc, argv, {.text = std::cout, .errors = std::cerr});
}
