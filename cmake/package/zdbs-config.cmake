# zdbs::zdbs, the library with its header, wherever the tree that this file is in stands.
get_filename_component(_zdbs_prefix "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(NOT TARGET zdbs::zdbs)
  add_library(zdbs::zdbs SHARED IMPORTED)
  set_target_properties(zdbs::zdbs PROPERTIES
    IMPORTED_LOCATION "${_zdbs_prefix}/lib/libzdbs.so"
    IMPORTED_NO_SONAME ON
    INTERFACE_INCLUDE_DIRECTORIES "${_zdbs_prefix}/include")
endif()
unset(_zdbs_prefix)
