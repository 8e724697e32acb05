# cmake --install: headers under include/nycert, libraries under lib, a CMake
# package (find_package(nycert) -> nycert::nycert) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS nycert nycert_static EXPORT nycertTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(FILES ${PROJECT_SOURCE_DIR}/nycert.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nycert)
foreach(dir IN LISTS NYCERT_SOURCE_DIRS)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nycert/${dir}
    FILES_MATCHING PATTERN "*.h" PATTERN "*_internal.h" EXCLUDE)
endforeach()
install(FILES ${NYCERT_ASN1_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nycert/asn1/modules)

set(NYCERT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/nycert)
install(EXPORT nycertTargets NAMESPACE nycert:: DESTINATION ${NYCERT_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/nycertConfig.cmake.in
  ${PROJECT_BINARY_DIR}/nycertConfig.cmake INSTALL_DESTINATION ${NYCERT_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/nycertConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/nycertConfig.cmake ${PROJECT_BINARY_DIR}/nycertConfigVersion.cmake
  DESTINATION ${NYCERT_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/nycert.pc.in ${PROJECT_BINARY_DIR}/nycert.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/nycert.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
