# Warning set for project code (third-party grammar sources do not use it).
function(quillory_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Werror)
endfunction()

# Embeds text files as `std::string_view` constants in generated/EmbeddedText/<Name>.h,
# where <Name> is the file name without its extension: resources/core/BrightloopCollect.js
# becomes `QuilloryEmbedded::BrightloopCollect` in "EmbeddedText/BrightloopCollect.h".
function(quillory_embed_text_files target)
  foreach(file IN LISTS ARGN)
    get_filename_component(name "${file}" NAME_WE)
    set(out "${CMAKE_BINARY_DIR}/generated/EmbeddedText/${name}.h")
    add_custom_command(OUTPUT "${out}"
      COMMAND ${CMAKE_COMMAND} -DINPUT=${file} -DOUTPUT=${out} -DNAME=${name}
              -P ${CMAKE_SOURCE_DIR}/cmake/EmbedText.cmake
      DEPENDS "${file}" ${CMAKE_SOURCE_DIR}/cmake/EmbedText.cmake
      COMMENT "Embedding ${name}")
    target_sources(${target} PRIVATE "${out}")
  endforeach()
endfunction()

# Compiles a GResource bundle into C source; sets <var>_SOURCE in the caller.
function(quillory_gresource var xml dir)
  execute_process(COMMAND ${GLIB_COMPILE_RESOURCES} --generate-dependencies --sourcedir=${dir} ${xml}
                  OUTPUT_VARIABLE deps OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(REPLACE "\n" ";" deps "${deps}")
  set(out "${CMAKE_BINARY_DIR}/generated/quillory-resources.c")
  add_custom_command(OUTPUT "${out}"
    COMMAND ${GLIB_COMPILE_RESOURCES} --generate-source --sourcedir=${dir} --target=${out} ${xml}
    DEPENDS ${xml} ${deps}
    COMMENT "Compiling GResources")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${xml})
  set(${var}_SOURCE "${out}" PARENT_SCOPE)
endfunction()
