# The user's manual (HTML and PDF) and the manual page, built from doc/ with
# Asciidoctor, and where the program looks for the manual.
#
#   <build>/doc/html/index.html (+ images/)  -> <docdir>/html/    (<datarootdir>/doc/sorvan)
#   <build>/doc/manual.pdf                   -> <docdir>/manual.pdf
#   <build>/doc/sorvan.1                     -> <mandir>/man1/sorvan.1
#
# Without asciidoctor (or asciidoctor-pdf) the pieces it would make are left
# out, with a message; the program then says the manual is not installed.

set(SORVAN_DOC_BUILD_DIR ${CMAKE_BINARY_DIR}/doc)
set(SORVAN_DOC_INSTALL_DIR ${CMAKE_INSTALL_DOCDIR})
set(_sorvan_doc_full_dir ${CMAKE_INSTALL_FULL_DOCDIR})

# The Help menu looks in the installed directory first (beside the program
# when the tree was relocated), then in this build's.
file(RELATIVE_PATH _sorvan_doc_from_bindir ${CMAKE_INSTALL_FULL_BINDIR} ${_sorvan_doc_full_dir})
set_property(SOURCE ${CMAKE_SOURCE_DIR}/app/MainWindow.cpp TARGET_DIRECTORY sorvan_app APPEND PROPERTY
  COMPILE_DEFINITIONS SORVAN_DOC_INSTALLED="${_sorvan_doc_full_dir}" SORVAN_DOC_FROM_BINDIR="${_sorvan_doc_from_bindir}"
                      SORVAN_DOC_BUILT="${SORVAN_DOC_BUILD_DIR}")

find_program(SORVAN_ASCIIDOCTOR asciidoctor)
find_program(SORVAN_ASCIIDOCTOR_PDF asciidoctor-pdf)

file(GLOB _sorvan_doc_sources CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/doc/*.adoc ${CMAKE_SOURCE_DIR}/doc/manual/*.adoc)
file(GLOB _sorvan_doc_images CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/doc/images/*.png)
set(_sorvan_doc_attributes
  -a sorvan-version=${PROJECT_VERSION}
  -a sorvan-docdir=${_sorvan_doc_full_dir}
  -a sorvan-sharedir=${CMAKE_INSTALL_FULL_DATADIR}/sorvan
  # No fonts or icons from the network: the manual is read offline, too.
  -a webfonts!)

set(_sorvan_doc_outputs)
set(SORVAN_DOC_COMPLETE OFF)
if(SORVAN_ASCIIDOCTOR)
  add_custom_command(
    OUTPUT ${SORVAN_DOC_BUILD_DIR}/html/index.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${SORVAN_DOC_BUILD_DIR}/html
    COMMAND ${SORVAN_ASCIIDOCTOR} -b html5 ${_sorvan_doc_attributes} --failure-level WARN
            -D ${SORVAN_DOC_BUILD_DIR}/html -o index.html ${CMAKE_SOURCE_DIR}/doc/manual.adoc
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/doc/images ${SORVAN_DOC_BUILD_DIR}/html/images
    DEPENDS ${_sorvan_doc_sources} ${_sorvan_doc_images}
    COMMENT "Building the HTML manual"
    VERBATIM)
  add_custom_command(
    OUTPUT ${SORVAN_DOC_BUILD_DIR}/sorvan.1
    COMMAND ${SORVAN_ASCIIDOCTOR} -b manpage ${_sorvan_doc_attributes} --failure-level WARN
            -D ${SORVAN_DOC_BUILD_DIR} ${CMAKE_SOURCE_DIR}/doc/sorvan.adoc
    DEPENDS ${_sorvan_doc_sources}
    COMMENT "Building the manual page"
    VERBATIM)
  list(APPEND _sorvan_doc_outputs ${SORVAN_DOC_BUILD_DIR}/html/index.html ${SORVAN_DOC_BUILD_DIR}/sorvan.1)
  install(DIRECTORY ${SORVAN_DOC_BUILD_DIR}/html DESTINATION ${SORVAN_DOC_INSTALL_DIR})
  install(FILES ${SORVAN_DOC_BUILD_DIR}/sorvan.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
else()
  message(STATUS "asciidoctor not found: the HTML manual and the manual page are not built "
                 "(install asciidoctor, or run tools/install-deps)")
endif()

if(SORVAN_ASCIIDOCTOR_PDF)
  add_custom_command(
    OUTPUT ${SORVAN_DOC_BUILD_DIR}/manual.pdf
    COMMAND ${SORVAN_ASCIIDOCTOR_PDF} ${_sorvan_doc_attributes} --failure-level WARN
            -o ${SORVAN_DOC_BUILD_DIR}/manual.pdf ${CMAKE_SOURCE_DIR}/doc/manual.adoc
    DEPENDS ${_sorvan_doc_sources} ${_sorvan_doc_images}
    COMMENT "Building the PDF manual"
    VERBATIM)
  list(APPEND _sorvan_doc_outputs ${SORVAN_DOC_BUILD_DIR}/manual.pdf)
  install(FILES ${SORVAN_DOC_BUILD_DIR}/manual.pdf DESTINATION ${SORVAN_DOC_INSTALL_DIR})
  if(SORVAN_ASCIIDOCTOR)
    set(SORVAN_DOC_COMPLETE ON)
  endif()
else()
  message(STATUS "asciidoctor-pdf not found: the PDF manual is not built "
                 "(install asciidoctor-pdf, or run tools/install-deps)")
endif()

if(_sorvan_doc_outputs)
  add_custom_target(sorvan_doc ALL DEPENDS ${_sorvan_doc_outputs})
endif()

# Installs into a staging directory and checks what a reader gets.  Skipped
# when the tools were missing.
if(BUILD_TESTING)
  add_test(NAME doc_install
           COMMAND ${SORVAN_PYTHON} -I -B ${CMAKE_SOURCE_DIR}/tests/doc/check_install.py ${CMAKE_COMMAND}
                   ${CMAKE_BINARY_DIR} ${SORVAN_DOC_INSTALL_DIR} ${CMAKE_INSTALL_MANDIR} ${SORVAN_DOC_COMPLETE})
  set_tests_properties(doc_install PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300 LABELS doc)
endif()
