# The formatter's resources: the dprint executable and its five plug-ins, taken from the pinned npm
# packages in third_party/node_modules. The build copies them beside the executable in the layout
# the formatter service looks for, and installation puts them under share/quillory.
#
#   ThirdParty/dprint/<version>/bin/<host triple>/dprint
#   ThirdParty/dprint/<version>/plugins/<plug-in file>
#
# Each plug-in file is named after the version its package really holds; configuration stops if a
# package differs from the name given here.

set(QUILLORY_DPRINT_VERSION 0.54.0)
set(QUILLORY_NODE_MODULES ${CMAKE_SOURCE_DIR}/third_party/node_modules)

# package directory | plug-in file | the version the file name states
set(QUILLORY_DPRINT_PLUGINS
  "@dprint/typescript|typescript-0.96.1.wasm|0.96.1"
  "@dprint/json|json-0.21.3.wasm|0.21.3"
  "@dprint/markdown|markdown-0.22.0.wasm|0.22.0"
  "dprint-plugin-malva|malva-v0.15.3.wasm|0.15.3"
  "dprint-plugin-markup|markup_fmt-v0.27.3.wasm|0.27.3")

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(QUILLORY_DPRINT_HOST_TRIPLE x86_64-unknown-linux-gnu)
  set(QUILLORY_DPRINT_BINARY_PACKAGE @dprint/linux-x64-glibc)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  set(QUILLORY_DPRINT_HOST_TRIPLE aarch64-unknown-linux-gnu)
  set(QUILLORY_DPRINT_BINARY_PACKAGE @dprint/linux-arm64-glibc)
endif()

function(quillory_package_version package out)
  set(manifest ${QUILLORY_NODE_MODULES}/${package}/package.json)
  if(NOT EXISTS ${manifest})
    message(FATAL_ERROR "${manifest} is missing: run scripts/install-deps.sh "
                        "(or `npm ci --ignore-scripts` in third_party/).")
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${manifest})
  file(READ ${manifest} text)
  string(JSON version GET "${text}" version)
  set(${out} ${version} PARENT_SCOPE)
endfunction()

set(QUILLORY_DPRINT_ROOT ${CMAKE_BINARY_DIR}/ThirdParty/dprint)
set(dprint_outputs)

quillory_package_version(dprint dprint_version)
if(NOT dprint_version STREQUAL QUILLORY_DPRINT_VERSION)
  message(FATAL_ERROR "third_party holds dprint ${dprint_version}, the build expects ${QUILLORY_DPRINT_VERSION}")
endif()

foreach(entry IN LISTS QUILLORY_DPRINT_PLUGINS)
  string(REPLACE "|" ";" fields "${entry}")
  list(GET fields 0 package)
  list(GET fields 1 file_name)
  list(GET fields 2 expected_version)
  quillory_package_version(${package} version)
  if(NOT version STREQUAL expected_version)
    message(FATAL_ERROR "${package} is ${version}, but its plug-in file would be named ${file_name}")
  endif()
  set(output ${QUILLORY_DPRINT_ROOT}/${QUILLORY_DPRINT_VERSION}/plugins/${file_name})
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E copy ${QUILLORY_NODE_MODULES}/${package}/plugin.wasm ${output}
    DEPENDS ${QUILLORY_NODE_MODULES}/${package}/plugin.wasm
    COMMENT "Copying dprint plug-in ${file_name}")
  list(APPEND dprint_outputs ${output})
endforeach()

# Without an executable for this host the formatter is simply off; the plug-ins are still copied.
set(binary ${QUILLORY_NODE_MODULES}/${QUILLORY_DPRINT_BINARY_PACKAGE}/dprint)
if(QUILLORY_DPRINT_HOST_TRIPLE AND EXISTS ${binary})
  quillory_package_version(${QUILLORY_DPRINT_BINARY_PACKAGE} binary_version)
  if(NOT binary_version STREQUAL QUILLORY_DPRINT_VERSION)
    message(FATAL_ERROR "${QUILLORY_DPRINT_BINARY_PACKAGE} is ${binary_version}, the build expects ${QUILLORY_DPRINT_VERSION}")
  endif()
  set(output ${QUILLORY_DPRINT_ROOT}/${QUILLORY_DPRINT_VERSION}/bin/${QUILLORY_DPRINT_HOST_TRIPLE}/dprint)
  # copy keeps the executable bit of the npm package's file.
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E copy ${binary} ${output}
    DEPENDS ${binary}
    COMMENT "Copying the dprint executable")
  list(APPEND dprint_outputs ${output})
else()
  message(STATUS "No dprint executable for ${CMAKE_SYSTEM_PROCESSOR}: formatting is off in this build")
endif()

add_custom_target(QuilloryDprintResources ALL DEPENDS ${dprint_outputs})
install(DIRECTORY ${CMAKE_BINARY_DIR}/ThirdParty DESTINATION share/quillory USE_SOURCE_PERMISSIONS)
