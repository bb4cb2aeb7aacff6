# Run by CPack between the installation of the components and their packing: what only a Debian package has.

# run COMMAND…: a failure ends the packing.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(debian "${CPACK_LUMORA_SOURCE_DIR}/packaging/debian")
set(staged "${CPACK_TEMPORARY_INSTALL_DIRECTORY}")
set(generated "${CPACK_LUMORA_BINARY_DIR}/debian")
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
file(MAKE_DIRECTORY "${generated}")

# Documents. The changelog's first entry is the one that is packed.
file(STRINGS "${debian}/changelog" newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^lumora \\(([^)]*)\\)" OR NOT CMAKE_MATCH_1 STREQUAL version)
  message(FATAL_ERROR "packaging/debian/changelog begins with \"${newest}\", the version is ${version}")
endif()
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" key)
  set(package "${CPACK_DEBIAN_${key}_PACKAGE_NAME}")
  set(documents "${staged}/${component}/usr/share/doc/${package}")
  file(COPY "${debian}/copyright" DESTINATION "${documents}")
  file(COPY_FILE "${debian}/changelog" "${documents}/changelog.Debian")
  run(gzip -9nf "${documents}/changelog.Debian")
  if(EXISTS "${debian}/${component}.lintian-overrides")
    configure_file("${debian}/${component}.lintian-overrides"
      "${staged}/${component}/usr/share/lintian/overrides/${package}" @ONLY)
  endif()
endforeach()
file(GLOB pages "${staged}/service/usr/share/man/man1/*.1")
run(gzip -9nf ${pages})

# Programs find the library where the system has it.
file(GLOB programs "${staged}/service/usr/bin/*")
foreach(program IN LISTS programs)
  file(RPATH_REMOVE FILE "${program}")
endforeach()

# Archives without what only this very compiler could read.
file(GLOB archives "${staged}/development/usr/${CPACK_LUMORA_LIBDIR}/*.a")
run(strip --strip-debug --enable-deterministic-archives --remove-section=.comment "--remove-section=.gnu.lto_*"
  "--remove-section=.gnu.debuglto_*" ${archives})

# The symbols, each with the first version that has it; one that is gone ends the packing.
run(${CMAKE_COMMAND} -E chdir "${debian}" dpkg-gensymbols -q -c1 "-P${staged}/library"
  -p${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} -v${CPACK_PACKAGE_VERSION}
  "-I${debian}/symbols" "-O${generated}/symbols")
