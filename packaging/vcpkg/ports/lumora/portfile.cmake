# Builds the sources that this port lies in.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../../.." ABSOLUTE)

vcpkg_find_acquire_program(PKGCONFIG)
# The folder share/lumora holds the CMake files here, and hosts copy the whole folder of the resources.
vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    -DBUILD_TESTING=OFF
    -DLUMORA_BUILD_PROGRAMS=OFF
    -DLUMORA_INSTALL_RESOURCESDIR=share/lumora/resources
    "-DPKG_CONFIG_EXECUTABLE=${PKGCONFIG}"
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME lumora CONFIG_PATH lib/cmake/Lumora)
if(VCPKG_LIBRARY_LINKAGE STREQUAL "static")
  # It names the libraries as a system's packages do; with vcpkg some have other names, and all need their own.
  file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/lib/pkgconfig" "${CURRENT_PACKAGES_DIR}/debug/lib/pkgconfig")
else()
  vcpkg_fixup_pkgconfig()
endif()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")

file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/packaging/debian/copyright")
