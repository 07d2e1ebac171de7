# How every target of this project is compiled: C++20, warnings on, and the sanitizers of the build.

find_program(CCACHE ccache)
if(CCACHE AND PROJECT_IS_TOP_LEVEL)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(veltrane_compile INTERFACE)
target_compile_features(veltrane_compile INTERFACE cxx_std_20)
target_compile_options(veltrane_compile INTERFACE
  $<BUILD_INTERFACE:-Wall -Wextra -Wpedantic -Wno-missing-field-initializers>
  # GCC 12 sees overlaps in "text" + std::string that are not there.
  $<BUILD_INTERFACE:$<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>>)
if(VELTRANE_SANITIZE)
  add_compile_options(-fsanitize=${VELTRANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # The sanitizers call dlopen in the program's place, whose own path then counts for nothing unless
  # it is one of the older kind.
  add_link_options(-fsanitize=${VELTRANE_SANITIZE} LINKER:--disable-new-dtags)
endif()
