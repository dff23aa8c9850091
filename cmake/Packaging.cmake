# Packages: `cmake --build build/release --target package` makes a .deb for the whole machine and a
# .tar.gz for one's own folders, in the build folder.
#
# Components: vst3 is the bundle, tools the renderer, data its presets, doc what Debian asks for;
# portable is the bundle at the top and the texts that a tarball has beside it.

install(FILES library/copyright DESTINATION share/doc/glassmere COMPONENT doc)
install(FILES library/README.txt LICENSE DESTINATION . COMPONENT portable EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME glassmere)
set(CPACK_PACKAGE_VENDOR vela)
set(CPACK_PACKAGE_CONTACT "vela <info@vela.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "reverb whose room is a short text")
string(TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" CPACK_SYSTEM_NAME)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/PackagingFormats.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A VST3 plug-in with 64 delay lines. A code such as AGURZ36S-GLASS decides how
they are tuned, grouped and joined; the same code builds the same room on every
machine, so it can be noted down, shared and loaded again.
.
The package also holds glassmere-render, which renders sound files offline.")

set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)

include(CPack)
