# Installs a build into a scratch folder and builds and runs a program against what lies there.
#
#   cmake -DBUILD=<build folder> [-DFLAGS=<compiler flags of that build>] -P check_package.cmake

cmake_minimum_required(VERSION 3.25)

# Outside the source tree, so that nothing of it is found by chance; the folder has no header but ours.
execute_process(COMMAND mktemp -d -t veltraneflow-package-XXXXXX
  OUTPUT_VARIABLE scratch OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

function(step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    file(REMOVE_RECURSE "${scratch}")
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed (${status}): ${command}")
  endif()
endfunction()

file(COPY "${CMAKE_CURRENT_LIST_DIR}/consumer" DESTINATION "${scratch}")
step(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${scratch}/first")
# Moved once, since a package is not always used where it was first laid.
file(RENAME "${scratch}/first" "${scratch}/prefix")
step(${CMAKE_COMMAND} -S "${scratch}/consumer" -B "${scratch}/build" -G Ninja
  "-DCMAKE_PREFIX_PATH=${scratch}/prefix" "-DCMAKE_CXX_FLAGS=${FLAGS}")
step(${CMAKE_COMMAND} --build "${scratch}/build")
step("${scratch}/build/core_only")
step("${scratch}/build/consumer")
if(EXISTS "${scratch}/prefix/lib/libveltrane_qtquick.a")
  step(${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen "XDG_RUNTIME_DIR=${scratch}" "${scratch}/build/qml_consumer")
endif()
if(EXISTS "${scratch}/prefix/bin/vtflow")
  step("${scratch}/prefix/bin/vtflow" --help)
endif()
file(REMOVE_RECURSE "${scratch}")
