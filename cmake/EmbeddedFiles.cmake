# vexa_embedded_files(FOLDER FILE...): writes embedded_FOLDER.cpp into the build tree, with the files
# of a folder as arrays, each with a tag that is made of its content. It stands for what
# zdbs/serve/page_files.h declares. Run as a script, it writes that source.
if(CMAKE_SCRIPT_MODE_FILE)
  set(arrays)
  set(rows)
  foreach(file IN LISTS FILES)
    file(READ "${FOLDER}/${file}" bytes HEX)
    file(SHA256 "${FOLDER}/${file}" sum)
    string(SUBSTRING "${sum}" 0 16 tag)
    string(MAKE_C_IDENTIFIER "bytes_${file}" array)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
    string(APPEND arrays "constexpr char ${array}[] = {${bytes}};\n")
    string(APPEND rows "    {\"${file}\", \"${tag}\", {${array}, sizeof ${array}}},\n")
  endforeach()
  file(WRITE "${OUTPUT}" "#include \"zdbs/serve/page_files.h\"\n\nnamespace zdbs::serve {\n\n"
    "namespace {\n\n${arrays}\nconstexpr EmbeddedFile files[] = {\n${rows}};\n\n}  // namespace\n\n"
    "std::span<const EmbeddedFile> embeddedFilesOfPage() {\n    return files;\n}\n\n"
    "}  // namespace zdbs::serve\n")
  return()
endif()

set(embeddedFilesScript "${CMAKE_CURRENT_LIST_FILE}")
function(vexa_embedded_files folder)
  set(from "${CMAKE_CURRENT_SOURCE_DIR}/${folder}")
  set(output "${CMAKE_CURRENT_BINARY_DIR}/embedded_${folder}.cpp")
  list(TRANSFORM ARGN PREPEND "${from}/" OUTPUT_VARIABLE sources)
  add_custom_command(OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} "-DFOLDER=${from}" "-DFILES=${ARGN}" "-DOUTPUT=${output}"
      -P "${embeddedFilesScript}"
    DEPENDS ${sources} "${embeddedFilesScript}" VERBATIM)
endfunction()
