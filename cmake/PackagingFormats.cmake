# Read by CPack once for each format.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_COMPONENTS_ALL vst3 tools data doc)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
  set(CPACK_COMPONENTS_ALL portable tools data)
  set(CPACK_PACKAGING_INSTALL_PREFIX /)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
endif()
