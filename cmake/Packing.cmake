# vexa_install_packed(COMPONENT FILE FOLDER): installs a file as gzip packs it, which is how manual
# pages and changelogs are read. What has no date in it has the same bytes every time.
function(vexa_install_packed component file folder)
  get_filename_component(name "${file}" NAME)
  set(packed "${CMAKE_BINARY_DIR}/package/${name}.gz")
  if(NOT TARGET packed_${name})
    add_custom_command(OUTPUT "${packed}" COMMAND gzip -9nc "${file}" > "${packed}"
      DEPENDS "${file}" VERBATIM)
    add_custom_target(packed_${name} ALL DEPENDS "${packed}")
  endif()
  install(FILES "${packed}" DESTINATION "${folder}" COMPONENT ${component})
endfunction()
