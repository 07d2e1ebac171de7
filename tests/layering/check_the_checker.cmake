# Proves that check_layering.cmake catches what it is there for: each case is a small tree with one
# fault, and the checker must fail and name the offending line.
#
#   cmake -DSCRATCH=<folder to write in> -P check_the_checker.cmake

cmake_minimum_required(VERSION 3.25)

function(write path)
  list(JOIN ARGN "\n" text)
  file(WRITE "${SCRATCH}/tree/${path}" "#pragma once\n${text}\n")
endfunction()

# A tree without fault that uses everything that is allowed.
function(sound_tree)
  file(REMOVE_RECURSE "${SCRATCH}/tree")
  write(veltrane/platform.h "#include <memory>")
  write(veltrane/base/json.h "#include <string_view>" "int list[] = {1, 2};  // a;b [c]")
  write(veltrane/base/json.cpp "#include \"veltrane/base/json.h\"" "#include <nlohmann/json.hpp>"
        "#include \"veltrane/platform.h\"")
  write(veltrane/flow/store.h "#include \"veltrane/base/json.h\"")
  write(veltrane/engine/rows.h "#include \"veltrane/flow/store.h\"")
  write(veltrane/ui/screen.h "#include \"veltrane/engine/rows.h\"" "#include \"veltrane/ui/cell.h\"")
  write(veltrane/ui/cell.h "#include \"veltrane/base/json.h\"")
  write(platform/disk/disk.h "#include <sqlite3.h>" "#include \"veltrane/flow/store.h\"")
  write(platform/disk/disk.cpp "#include \"platform/disk/disk.h\"")
  write(platform/net/net.h "#include <curl/curl.h>" "#include \"veltrane/base/json.h\"")
  write(platform/qtquick/install.cpp "#include \"platform/disk/disk.h\"")
  write(apps/tool/tool.h "#include \"platform/disk/disk.h\"" "#include \"platform/net/net.h\"")
  write(tests/tool/tool_test.cpp "#include \"apps/tool/tool.h\"" "#include \"helper.h\"")
  write(tests/tool/helper.h)
endfunction()

function(run_checker status output)
  execute_process(
    COMMAND ${CMAKE_COMMAND} "-DROOT=${SCRATCH}/tree" -P "${CMAKE_CURRENT_LIST_DIR}/check_layering.cmake"
    RESULT_VARIABLE code OUTPUT_VARIABLE text ERROR_VARIABLE text)
  set(${status} ${code} PARENT_SCOPE)
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

# One fault: PATH gets the given lines; the checker must fail and print EXPECTED.
function(catches path expected)
  sound_tree()
  write("${path}" ${ARGN})
  run_checker(status output)
  string(FIND "${output}" "${expected}" at)
  if(status EQUAL 0)
    message(SEND_ERROR "not caught: ${path} with ${ARGN}")
  elseif(at EQUAL -1)
    message(SEND_ERROR "caught without naming '${expected}': ${output}")
  endif()
endfunction()

sound_tree()
run_checker(status output)
if(NOT status EQUAL 0)
  message(SEND_ERROR "a sound tree was refused: ${output}")
endif()

# The order of the rooms, and the list of ports.
catches(veltrane/base/up.h "veltrane/base/up.h:2:" "#include \"veltrane/ui/cell.h\"")
catches(veltrane/flow/up.cpp "veltrane/flow/up.cpp:3:" "// a line before that ends so: \\"
        "  #  include \"veltrane/engine/rows.h\"")
catches(veltrane/lost/file.h "no known room" "#include \"veltrane/base/json.h\"")
catches(veltrane/ui/lost.h "no such room" "#include \"veltrane/lost/file.h\"")
catches(veltrane/platform.h "veltrane/platform.h:2:" "#include \"veltrane/flow/store.h\"")

# Technology in the core.
foreach(header QString QtCore/QString qstring.h curl/curl.h sqlite3.h opencv2/core.hpp httplib.h
        openssl/ssl.h CLI/CLI.hpp)
  catches(veltrane/base/leak.cpp "veltrane/base/leak.cpp:2:" "#include <${header}>")
  catches(veltrane/ui/leak.h "veltrane/ui/leak.h:2:" "#include \"${header}\"")
endforeach()
catches(veltrane/base/leak.h "veltrane/base/leak.h:2:" "#include <nlohmann/json.hpp>")
catches(veltrane/ui/leak.h "veltrane/ui/leak.h:2:" "#include \"platform/disk/disk.h\"")
catches(veltrane/ui/leak.cpp "veltrane/ui/leak.cpp:2:" "#include \"apps/tool/tool.h\"")
catches(veltrane/ui/leak.cpp "veltrane/ui/leak.cpp:2:" "#include \"../../platform/disk/disk.h\"")

# Adapters, applications and tests.
catches(platform/net/leak.cpp "platform/net/leak.cpp:2:" "#include \"platform/disk/disk.h\"")
catches(platform/net/leak.cpp "platform/net/leak.cpp:2:" "#include \"apps/tool/tool.h\"")
catches(platform/net/leak.cpp "platform/net/leak.cpp:2:" "#include \"tests/tool/helper.h\"")
catches(platform/net/leak.cpp "platform/net/leak.cpp:2:" "#include \"../disk/disk.h\"")
catches(apps/tool/leak.cpp "apps/tool/leak.cpp:2:" "#include \"tests/tool/helper.h\"")

# Loops of one, two and three files, in the core and beside it.
catches(veltrane/ui/cell.h "veltrane/ui/cell.h -> veltrane/ui/cell.h" "#include \"veltrane/ui/cell.h\"")
catches(veltrane/ui/cell.h "veltrane/ui/screen.h -> " "#include \"veltrane/ui/screen.h\"")
function(catches_long_loop)
  sound_tree()
  write(apps/tool/tool.h "#include \"apps/tool/two.h\"")
  write(apps/tool/two.h "#include \"apps/tool/three.h\"")
  write(apps/tool/three.h "#include \"tool.h\"")
  run_checker(status output)
  if(status EQUAL 0 OR NOT output MATCHES "loop: .*three.h")
    message(SEND_ERROR "a loop of three was not caught: ${output}")
  endif()
endfunction()
catches_long_loop()
