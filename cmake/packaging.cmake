# Debian packages of the library (`make package`, cpack -G DEB): libnetloom0
# holds the shared library, libnetloom-dev the headers, the CMake package and the
# pkg-config file. Configure with -DCMAKE_INSTALL_PREFIX=/usr so that the library
# directory is Debian's multiarch one.
set(CPACK_PACKAGE_NAME netloom)
set(CPACK_PACKAGE_VENDOR "the netloom authors")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_CONTACT "the netloom authors")
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)

set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# The runtime package is named after the library's soname, as Debian names them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libnetloom${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "network diagram layout library
netloom lays out network diagrams: force-directed, tree, radiant and hierarchy
layouts, with grid cells, port sides and an edge order. License: MIT.")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libnetloom-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_DESCRIPTION "network diagram layout library (development files)
Headers, CMake package (find_package(netloom CONFIG)) and pkg-config file
(netloom.pc) of the netloom layout library. License: MIT.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libstdc++-dev")
include(CPack)
