# What `cmake --install` lays out under the prefix: the shared library with
# its soname link, the public headers, the tool and its manual page, a
# pkg-config file and a CMake package giving the imported target kvsvg::kvsvg.
# The static subsystems are linked into libkvsvg.so and are not installed.
include(CMakePackageConfigHelpers)

set(KVSVG_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kvsvg)

install(TARGETS kvsvg EXPORT kvsvgTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kvsvg DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development FILES_MATCHING PATTERN "*.h")
if(TARGET kvsvg_cli)
  install(TARGETS kvsvg_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  install(FILES ${PROJECT_BINARY_DIR}/tools/kvsvg/kvsvg.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT runtime)
endif()

# pkg-config: the prefix is found from the .pc file's own place, so a tree
# installed with `cmake --install --prefix` elsewhere, staged or moved, still
# answers with its own paths.
file(RELATIVE_PATH KVSVG_PC_UP "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" KVSVG_PC_UP "${KVSVG_PC_UP}")
set(KVSVG_PC_PREFIX "\${pcfiledir}/${KVSVG_PC_UP}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/kvsvg.pc.in ${PROJECT_BINARY_DIR}/kvsvg.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvsvg.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

install(EXPORT kvsvgTargets NAMESPACE kvsvg:: DESTINATION ${KVSVG_CMAKE_DIR} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kvsvgConfig.cmake.in
  ${PROJECT_BINARY_DIR}/kvsvgConfig.cmake INSTALL_DESTINATION ${KVSVG_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvsvgConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kvsvgConfig.cmake ${PROJECT_BINARY_DIR}/kvsvgConfigVersion.cmake
  DESTINATION ${KVSVG_CMAKE_DIR} COMPONENT development)

# The Python binding, where the Debian interpreter looks for packages of
# this prefix, with a note of where the library lies relative to it, so an
# installed `import kvsvg` finds its own library however the tree was staged.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(kvsvg_python_default lib/python3/dist-packages)
else()
  find_program(KVSVG_PYTHON3 NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
  find_program(KVSVG_PYTHON3 NAMES python3)
  set(kvsvg_python_version 3)
  if(KVSVG_PYTHON3)
    execute_process(COMMAND ${KVSVG_PYTHON3} -c "import sys; print('%d.%d' % sys.version_info[:2])"
      OUTPUT_VARIABLE kvsvg_python_version OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  set(kvsvg_python_default lib/python${kvsvg_python_version}/dist-packages)
endif()
set(KVSVG_PYTHON_DIR ${kvsvg_python_default} CACHE STRING "Where the Python package goes, under the prefix")
file(RELATIVE_PATH kvsvg_library_from_package "/prefix/${KVSVG_PYTHON_DIR}/kvsvg" "/prefix/${CMAKE_INSTALL_LIBDIR}")
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/python/_location.py CONTENT
  "# Written by the install: where libkvsvg lies, relative to this package.\nLIBRARY_FROM_PACKAGE = \"${kvsvg_library_from_package}/$<TARGET_SONAME_FILE_NAME:kvsvg>\"\n")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/kvsvg DESTINATION ${KVSVG_PYTHON_DIR} COMPONENT python
  FILES_MATCHING PATTERN "*.py" PATTERN "__pycache__" EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/python/_location.py DESTINATION ${KVSVG_PYTHON_DIR}/kvsvg COMPONENT python)
