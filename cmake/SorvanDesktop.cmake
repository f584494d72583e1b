# What a desktop needs to offer SORVAN, and where it is installed:
#
#   desktop/sorvan-root                     -> <bindir>/  (starts SORVAN as root through pkexec)
#   desktop/<id>.desktop                    -> <datadir>/applications/
#   desktop/<id>.metainfo.xml               -> <datadir>/metainfo/
#   desktop/<id>.policy.in (paths filled)   -> <datadir>/polkit-1/actions/
#   share/pixmaps/sorvan.icon.svg           -> <datadir>/icons/hicolor/scalable/apps/sorvan.svg
#     rendered at each size                 -> <datadir>/icons/hicolor/<n>x<n>/apps/sorvan.png

set(SORVAN_APP_ID io.github.sorvan.Sorvan)
set(SORVAN_ICON_SIZES 16 22 24 32 48 64 128 256)
set(_sorvan_desktop_dir ${CMAKE_SOURCE_DIR}/desktop)
set(_sorvan_desktop_build ${CMAKE_BINARY_DIR}/desktop)
set(_sorvan_icon_svg ${CMAKE_SOURCE_DIR}/share/pixmaps/sorvan.icon.svg)

# polkit matches the path pkexec is asked to run, so the policy names the
# installed files.
set(SORVAN_LAUNCHER_PATH ${CMAKE_INSTALL_FULL_BINDIR}/sorvan-root)
set(SORVAN_PROGRAM_PATH ${CMAKE_INSTALL_FULL_BINDIR}/sorvan)
configure_file(${_sorvan_desktop_dir}/${SORVAN_APP_ID}.policy.in
               ${_sorvan_desktop_build}/${SORVAN_APP_ID}.policy @ONLY)

set(_sorvan_icons)
foreach(size IN LISTS SORVAN_ICON_SIZES)
  set(png ${_sorvan_desktop_build}/icons/${size}x${size}/sorvan.png)
  _sorvan_render(${_sorvan_icon_svg} ${png} ${size})
  list(APPEND _sorvan_icons ${png})
  install(FILES ${png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
add_custom_target(sorvan_desktop ALL DEPENDS ${_sorvan_icons})

install(PROGRAMS ${_sorvan_desktop_dir}/sorvan-root DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${_sorvan_desktop_dir}/${SORVAN_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${_sorvan_desktop_dir}/${SORVAN_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${_sorvan_desktop_build}/${SORVAN_APP_ID}.policy DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions)
install(FILES ${_sorvan_icon_svg} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps RENAME sorvan.svg)

if(BUILD_TESTING)
  set(_sorvan_check ${SORVAN_PYTHON} -I -B ${CMAKE_SOURCE_DIR}/tests/desktop/check_desktop.py)
  set(_sorvan_stage ${CMAKE_BINARY_DIR}/desktop-stage)

  add_test(NAME desktop_validate
           COMMAND ${_sorvan_check} validate ${_sorvan_desktop_dir}/${SORVAN_APP_ID}.desktop
                   ${_sorvan_desktop_dir}/${SORVAN_APP_ID}.metainfo.xml ${CMAKE_SOURCE_DIR}/CMakeLists.txt)

  # One install into a DESTDIR staging directory, read by the next tests.
  add_test(NAME desktop_stage COMMAND ${CMAKE_COMMAND} -E env DESTDIR=${_sorvan_stage}/
           ${_sorvan_check} stage ${CMAKE_COMMAND} ${CMAKE_BINARY_DIR} ${_sorvan_stage})
  set_tests_properties(desktop_stage PROPERTIES FIXTURES_SETUP desktop_stage)
  add_test(NAME desktop_installed
           COMMAND ${_sorvan_check} installed ${_sorvan_stage} ${CMAKE_INSTALL_FULL_BINDIR}
                   ${CMAKE_INSTALL_FULL_DATADIR} ${SORVAN_APP_ID} "${SORVAN_ICON_SIZES}" ${CMAKE_SOURCE_DIR}
                   ${CMAKE_BINARY_DIR}/sandbox)
  # The staged program is this build's: a sanitizer build's needs the same
  # options as every other test's.
  set_tests_properties(desktop_installed PROPERTIES FIXTURES_REQUIRED "desktop_stage;sandbox"
                       ENVIRONMENT "XDG_RUNTIME_DIR=${SORVAN_TEST_RUNTIME_DIR};${SORVAN_LSAN_OPTIONS}")
  add_test(NAME desktop_launcher
           COMMAND ${_sorvan_check} launcher ${_sorvan_stage}${CMAKE_INSTALL_FULL_BINDIR})
  set_tests_properties(desktop_launcher PROPERTIES FIXTURES_REQUIRED desktop_stage)
  set_tests_properties(desktop_validate desktop_stage desktop_installed desktop_launcher PROPERTIES
                       SKIP_RETURN_CODE 77 TIMEOUT 300 LABELS desktop)

  # The RPM, built from the source tarball as a packager would.  It does not
  # depend on how this tree was compiled, so the sanitizer builds skip it.
  # A build without tests: about 7 CPU-minutes, under 4 minutes on two free cores.
  if(SORVAN_SANITIZE STREQUAL "")
    add_test(NAME rpm_build COMMAND ${_sorvan_check} rpm ${CMAKE_SOURCE_DIR} ${PROJECT_VERSION} ${SORVAN_APP_ID}
                                    "${SORVAN_ICON_SIZES}")
    set_tests_properties(rpm_build PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 1800 LABELS rpm)
  endif()
endif()
