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
  write(platform/disk/disk.cpp "#include \"platform/disk/disk.h\"" "#include \"platform/sqlitefile/file.h\"")
  write(platform/sqlitefile/file.h "#include <sqlite3.h>")
  write(platform/net/net.h "#include <curl/curl.h>" "#include \"veltrane/base/json.h\"")
  write(platform/qtquick/install.cpp "#include \"platform/disk/disk.h\"")
  write(apps/tool/tool.h "#include \"platform/disk/disk.h\"" "#include \"platform/net/net.h\"")
  write(apps/tool/two.h "#include \"apps/tool/tool.h\"")
  write(apps/tool/three.h "#include \"two.h\"")
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

# One fault: PATH gets the given lines; the checker must fail and print EXPECTED, with the file in
# front of a line's number.
function(catches path expected)
  sound_tree()
  write("${path}" ${ARGN})
  run_checker(status output)
  if(expected MATCHES "^:")
    string(PREPEND expected "${path}")
  endif()
  string(FIND "${output}" "${expected}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    message(SEND_ERROR "not caught, or not by '${expected}': ${path} with ${ARGN}: ${output}")
  endif()
endfunction()

sound_tree()
run_checker(status output)
if(NOT status EQUAL 0)
  message(SEND_ERROR "a sound tree was refused: ${output}")
endif()

# The order of the rooms, and the list of ports.
catches(veltrane/base/up.h ":2:" "#include \"veltrane/ui/cell.h\"")
catches(veltrane/flow/up.cpp ":3:" "// a line before that ends so: \\"
        "  #  include \"veltrane/engine/rows.h\"")
catches(veltrane/lost/file.h ":2:" "#include \"veltrane/platform.h\"")
catches(veltrane/ui/lost.h ":2:" "#include \"veltrane/lost/file.h\"")
catches(veltrane/platform.h ":2:" "#include \"veltrane/flow/store.h\"")

# Technology in the core, and what ships including its users, its tests or another adapter.
foreach(header QString QtCore/QString curl/curl.h sqlite3.h opencv2/core.hpp)
  catches(veltrane/base/leak.cpp ":2:" "#include <${header}>")
  catches(veltrane/ui/leak.h ":2:" "#include \"${header}\"")
endforeach()
catches(veltrane/base/leak.h ":2:" "#include <nlohmann/json.hpp>")
foreach(target platform/disk/disk.h apps/tool/tool.h ../../platform/disk/disk.h)
  catches(veltrane/ui/leak.cpp ":2:" "#include \"${target}\"")
endforeach()
foreach(target platform/disk/disk.h apps/tool/tool.h tests/tool/helper.h ../disk/disk.h)
  catches(platform/net/leak.cpp ":2:" "#include \"${target}\"")
endforeach()
foreach(target platform/disk/disk.h veltrane/base/json.h apps/tool/tool.h)
  catches(platform/sqlitefile/leak.cpp ":2:" "#include \"${target}\"")
endforeach()
catches(apps/tool/leak.cpp ":2:" "#include \"tests/tool/helper.h\"")

# Loops of one, two and three files, in the core and beside it.
catches(veltrane/ui/cell.h "veltrane/ui/cell.h -> veltrane/ui/cell.h" "#include \"veltrane/ui/cell.h\"")
catches(veltrane/ui/cell.h "veltrane/ui/screen.h -> " "#include \"veltrane/ui/screen.h\"")
catches(apps/tool/tool.h "three.h -> apps/tool/two.h -> apps/tool/tool.h -> apps/tool/three.h"
        "#include \"apps/tool/three.h\"")
