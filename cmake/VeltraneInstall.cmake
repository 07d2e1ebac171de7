# What `cmake --install` lays down: libraries, headers under the names they have here, the programs
# (each installs itself), and the CMake package VeltraneFlow with one component for each library.

include(CMakePackageConfigHelpers)

set(VELTRANE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VeltraneFlow)
set(VELTRANE_COMPONENTS "")

# veltrane_install_component(<name> <target>...): the targets that make up a component.
function(veltrane_install_component name)
  install(TARGETS ${ARGN} EXPORT VeltraneFlow-${name}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    OBJECTS DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT VeltraneFlow-${name} NAMESPACE Veltrane:: DESTINATION ${VELTRANE_PACKAGE_DIR})
  set(VELTRANE_COMPONENTS ${VELTRANE_COMPONENTS} ${name} PARENT_SCOPE)
endfunction()

set_target_properties(veltrane_compile PROPERTIES EXPORT_NAME compile)
veltrane_install_component(core veltrane_compile veltrane_core)
veltrane_install_component(late ${VELTRANE_LATE_LIBRARIES})
veltrane_install_component(loop veltrane_loop)
veltrane_install_component(curl veltrane_curl)
veltrane_install_component(sqlitefile veltrane_sqlitefile)
veltrane_install_component(sqlite veltrane_sqlite)
veltrane_install_component(pictures veltrane_pictures)
veltrane_install_component(fido2 veltrane_fido2)
veltrane_install_component(publicsuffix veltrane_publicsuffix)
veltrane_install_component(authenticator veltrane_authenticator)
veltrane_install_component(opencv veltrane_opencv)
if(VELTRANE_OPENCV)
  install(TARGETS ${VELTRANE_LATE_MODULES} EXPORT VeltraneFlow-opencv
    LIBRARY DESTINATION ${VELTRANE_LATE_MODULE_DIR} NAMELINK_SKIP)
  install(FILES platform/opencv/models/NOTICE platform/opencv/models/LICENSE-Apache-2.0
    DESTINATION ${VELTRANE_LATE_MODULE_DIR})
endif()
if(TARGET vtflow-window)
  set_target_properties(vtflow-window PROPERTIES INSTALL_RPATH $ORIGIN/../../${VELTRANE_LATE_MODULE_DIR})
endif()
set(VELTRANE_QTQUICK_NEEDS "")
if(TARGET veltrane_webengine)
  set(VELTRANE_QTQUICK_NEEDS webengine)
  get_target_property(veltrane_webengine_resources veltrane_webengine VELTRANE_RESOURCE_TARGETS)
  veltrane_install_component(webengine veltrane_webengine ${veltrane_webengine_resources})
  install(TARGETS veltrane_web
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/veltraneflow/qml/Veltrane/Web)
endif()
if(TARGET veltrane_qtquick)
  # The library holds the QML module; the folder is for tools that check a host's QML against it.
  get_target_property(veltrane_qtquick_resources veltrane_qtquick VELTRANE_RESOURCE_TARGETS)
  veltrane_install_component(qtquick veltrane_qtquick ${veltrane_qtquick_resources})
  if(VELTRANE_MULTIMEDIA)
    install(TARGETS veltrane_multimedia EXPORT VeltraneFlow-qtquick
      LIBRARY DESTINATION ${VELTRANE_LATE_MODULE_DIR} NAMELINK_SKIP)
  endif()
  install(DIRECTORY ${PROJECT_BINARY_DIR}/qml/Veltrane
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/veltraneflow/qml
    FILES_MATCHING PATTERN "*.qml" PATTERN "qmldir" PATTERN "*.qmltypes")
endif()

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/VeltraneFlowConfig.cmake.in ${PROJECT_BINARY_DIR}/VeltraneFlowConfig.cmake
  INSTALL_DESTINATION ${VELTRANE_PACKAGE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/VeltraneFlowConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/VeltraneFlowConfig.cmake ${PROJECT_BINARY_DIR}/VeltraneFlowConfigVersion.cmake
  DESTINATION ${VELTRANE_PACKAGE_DIR})
