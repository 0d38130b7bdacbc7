# What `cmake --install` lays out under any prefix, and the Debian package CPack makes of it.
# Run-time resources that the programs look up go under share/quillory/, found relative to the
# executable (../share/quillory), so a relocated prefix works.
include(GNUInstallDirs)

set(QUILLORY_APPLICATION_ID app.quillory.Quillory)
install(TARGETS quillory quillory-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES resources/desktop/${QUILLORY_APPLICATION_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES resources/desktop/${QUILLORY_APPLICATION_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(DIRECTORY resources/desktop/icons/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillory)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Local-first website editor with a live preview")
set(CPACK_PACKAGE_DESCRIPTION "Quillory edits the pages and sources of a local static website or Vite React project beside a live rendering, and jumps from a fenced region of the rendering to the exact source that made it.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Quillory developers")
# The shared libraries the binaries link against become dependencies through dpkg-shlibdeps.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Git status, history, tracking and new pages need git; Vite React previews need Node.js and npm.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "git")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "nodejs, npm")
include(CPack)
