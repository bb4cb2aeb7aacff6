# The installed library in its components: `library` is what a host runs with, `development` what it is built with.
# The service and the terminal host are components too, `service` and `host`.
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Lumora")

# Everything that is installed, without the tests. ./demo builds less than that, so the installation looks first.
add_custom_target(lumora_installable DEPENDS lumora lumora_testing lumora_core)
if(PROJECT_IS_TOP_LEVEL AND LUMORA_BUILD_PROGRAMS)
  add_dependencies(lumora_installable lumora-host lumora-service)
endif()
install(CODE "
  foreach(built \"$<TARGET_FILE:lumora>\" \"$<TARGET_FILE:lumora_testing>\" \"$<TARGET_FILE:lumora_core>\")
    if(NOT EXISTS \"\${built}\")
      message(FATAL_ERROR \"\${built} is not built yet. This builds what is installed:\\n\"
        \"  cmake --build ${PROJECT_BINARY_DIR} --target lumora_installable\")
    endif()
  endforeach()")

install(TARGETS lumora lumora_testing EXPORT LumoraTargets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  FILE_SET HEADERS)
if(LUMORA_MODULES)
  install(TARGETS ${LUMORA_MODULES} LIBRARY COMPONENT library NAMELINK_SKIP)
endif()
# A package of its own: its archive needs the development files of its dependencies, a shared lumora does not.
install(TARGETS lumora_core EXPORT LumoraCoreTargets)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/resources/" DESTINATION "${LUMORA_INSTALL_RESOURCESDIR}" COMPONENT library)
install(EXPORT LumoraTargets NAMESPACE lumora:: DESTINATION "${package_dir}")
install(EXPORT LumoraCoreTargets NAMESPACE lumora:: DESTINATION "${package_dir}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/LumoraConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/LumoraConfig.cmake" INSTALL_DESTINATION "${package_dir}" PATH_VARS LUMORA_INSTALL_RESOURCESDIR
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/LumoraConfigVersion.cmake"
  VERSION "${PROJECT_VERSION}" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/LumoraConfig.cmake" "${PROJECT_BINARY_DIR}/LumoraConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/LumoraTesting.cmake" DESTINATION "${package_dir}")

# The prefix is written relative to the file, so an installed tree can be moved.
set(pkg_config_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH pkg_config_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
set(pkg_config_libs "")
if(NOT BUILD_SHARED_LIBS)
  # What the archive itself calls; requiring the packages would pull in what their own archives need.
  set(pkg_config_libs "-lsqlite3 -lfmt -lcurl -lpng -ljpeg -lgif -lwebp -lwebpdemux -luuid -pthread -lstdc++ -lm")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/lumora.pc.in" "${PROJECT_BINARY_DIR}/lumora.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/lumora.pc" DESTINATION "${pkg_config_dir}")
unset(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME)
