# Translations of the program's texts.  The .ts files in translations/ are
# what translators edit; the English texts in the sources are the source
# texts.  `cmake --build <dir> --target update_translations` runs lupdate over
# every subsystem's sources and brings the .ts files up to date (developers
# run it after changing texts).  Every build compiles them with lrelease into
# the shared-data directory, where the program, the tests and the demo find
# them, and `install` takes them along with the rest of that directory.

find_package(Qt6 6.4 REQUIRED COMPONENTS LinguistTools)

file(GLOB SORVAN_TS_FILES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/translations/sorvan_*.ts)

add_custom_target(sorvan_translations ALL)
set_source_files_properties(${SORVAN_TS_FILES} PROPERTIES OUTPUT_LOCATION ${SORVAN_BUILD_SHARE}/translations)

# Never part of a build: it rewrites files under version control.
add_custom_target(update_translations
  COMMAND ${CMAKE_COMMAND} -DLUPDATE=$<TARGET_FILE:Qt6::lupdate> -DSOURCE_DIR=${CMAKE_SOURCE_DIR}
          -DWORK_DIR=${CMAKE_BINARY_DIR}/lupdate -DDIRS=app,widgets,log,progress,yumio,repo,packagetable
          -P ${CMAKE_SOURCE_DIR}/cmake/SorvanLupdate.cmake
  COMMENT "Updating the translations in ${CMAKE_SOURCE_DIR}/translations"
  VERBATIM)
qt_add_lrelease(sorvan_translations
  TS_FILES ${SORVAN_TS_FILES}
  OPTIONS -silent
  QM_FILES_OUTPUT_VARIABLE SORVAN_QM_FILES)

# Assembling the shared-data directory copies share/ over it; the .qm files
# are written after that, and the program is not built without them.
add_dependencies(sorvan_translations sorvan_share)
add_dependencies(sorvan sorvan_translations)
