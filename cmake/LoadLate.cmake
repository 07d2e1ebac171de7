# Libraries that a program loads when it first calls them, as Windows' linkers do with /DELAYLOAD:
# those that a first screen does not need would hold up every start. late/<name>.txt lists the
# functions of each that may be called; the linker refuses any other.

set(VELTRANE_LATE_DIR ${CMAKE_CURRENT_LIST_DIR}/late)
set(VELTRANE_LATE_LIBRARIES "")

# veltrane_late_library(<name> <path of the library>): the target veltrane_late_<name>, which links
# the library as usual where VELTRANE_LOAD_LATE is off.
function(veltrane_late_library name path)
  set(target veltrane_late_${name})
  set(VELTRANE_LATE_LIBRARIES ${VELTRANE_LATE_LIBRARIES} ${target} PARENT_SCOPE)
  if(NOT VELTRANE_LOAD_LATE)
    add_library(${target} INTERFACE)
    get_filename_component(file ${path} NAME_WE)
    string(REGEX REPLACE "^lib" "" linked ${file})
    target_link_libraries(${target} INTERFACE
      $<BUILD_INTERFACE:${path}> $<INSTALL_INTERFACE:${linked}>)
    return()
  endif()
  execute_process(COMMAND ${CMAKE_OBJDUMP} -p ${path} OUTPUT_VARIABLE about COMMAND_ERROR_IS_FATAL ANY)
  if(NOT about MATCHES "SONAME +([^\n ]+)")
    message(FATAL_ERROR "${path} has no SONAME")
  endif()
  set(VELTRANE_SONAME ${CMAKE_MATCH_1})
  set(VELTRANE_LATE_NAME ${name})
  set(VELTRANE_RENAMED "")
  set(VELTRANE_CALLS "")
  set(list ${VELTRANE_LATE_DIR}/${name}.txt)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} functions)
  foreach(function IN LISTS functions)
    string(APPEND VELTRANE_RENAMED "#define ${function} veltrane_late_${function}\n")
    string(APPEND VELTRANE_CALLS "VELTRANE_LATE_CALL(${name}, ${function})\n")
  endforeach()
  set(folder ${PROJECT_BINARY_DIR}/late/${name})
  configure_file(${VELTRANE_LATE_DIR}/late_renamed.h.in ${folder}/late_${name}.h @ONLY)
  configure_file(${VELTRANE_LATE_DIR}/late_calls.cpp.in ${folder}/late_${name}.cpp @ONLY)
  add_library(${target} STATIC ${folder}/late_${name}.cpp)
  target_include_directories(${target} PRIVATE ${VELTRANE_LATE_DIR})
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_compile_options(${target} INTERFACE
    "SHELL:$<BUILD_INTERFACE:-include ${folder}/late_${name}.h>")
  target_link_libraries(${target} PUBLIC ${CMAKE_DL_LIBS})
endfunction()

# Libraries without a CMake package. A name that a file of the project has is not used again.
function(veltrane_find_late name library)
  find_library(VELTRANE_${name}_LIBRARY ${library} REQUIRED)
  mark_as_advanced(VELTRANE_${name}_LIBRARY)
  veltrane_late_library(${name} ${VELTRANE_${name}_LIBRARY})
  set(VELTRANE_LATE_LIBRARIES ${VELTRANE_LATE_LIBRARIES} PARENT_SCOPE)
endfunction()

find_package(GIF 5.1 REQUIRED)
find_package(JPEG REQUIRED)
find_package(OpenSSL 3.0 REQUIRED)
foreach(name argon2 cbor deflate exif fido2 psl webp webpdemux yuv zimg)
  veltrane_find_late(${name} ${name})
endforeach()
veltrane_find_late(pixman pixman-1)
veltrane_late_library(crypto ${OPENSSL_CRYPTO_LIBRARY})
veltrane_late_library(gif ${GIF_LIBRARY})
veltrane_late_library(jpeg ${JPEG_LIBRARIES})
