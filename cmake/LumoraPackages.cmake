# The Debian packages, one for each component:  cpack --config build/package/CPackConfig.cmake
# packaging/README.md tells the way; packaging/debian/stage.cmake adds what only a Debian package has.
set(soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(library_package liblumora${soversion})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumora)
# Each component's description begins with a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR Lumora)
set(CPACK_PACKAGE_CONTACT "Lumora maintainers <maintainers@lumora.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL library development service)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/debian/stage.cmake")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(package_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
# Where dpkg-shlibdeps finds the library that the service links and no package yet brings.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lumora")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/debian/symbols"
  "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "client library of a marketing-automation service
Lumora records what happens in an application, keeps it in a local database,
uploads it to the service, and shows the messages of the service's campaigns.
.
This package holds the shared library, its modules and its resources.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liblumora-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${package_version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "lumora-service, libsqlite3-dev, libfmt-dev, cmake | pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "client library of a marketing-automation service (development files)
Lumora records what happens in an application, keeps it in a local database,
uploads it to the service, and shows the messages of the service's campaigns.
.
This package holds the headers, the files for CMake and pkg-config, the test
kit for hosts, and the library without a platform, whose users need
libsqlite3-dev and libfmt-dev too.")

set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME lumora-service)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS "${library_package} (= ${package_version})")
set(CPACK_COMPONENT_SERVICE_DESCRIPTION "local development service for hosts of the Lumora library
A complete service on the developer's own machine, to try an application
against: it answers from an accounts file, keeps what applications report, and
can be told to fail in the ways real services fail.")

# What packaging/debian/stage.cmake must know.
set(CPACK_LUMORA_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
set(CPACK_LUMORA_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
set(CPACK_LUMORA_BINARY_DIR "${PROJECT_BINARY_DIR}")
include(CPack)
