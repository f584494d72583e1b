# Assembles the shared-data directory in the build tree: the files of share/
# as they are, and every icon drawn as SVG rendered to the PNG the program
# loads.  The same tree is what `install` puts into <prefix>/share/sorvan.

add_executable(sorvan_svg2png ${CMAKE_SOURCE_DIR}/tools/svg2png.cpp)
target_link_libraries(sorvan_svg2png PRIVATE sorvan_config Qt6::Gui Qt6::Svg)

file(GLOB_RECURSE _sorvan_svgs CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/share/*.svg)
set(_sorvan_pngs)
foreach(svg IN LISTS _sorvan_svgs)
  file(RELATIVE_PATH rel ${CMAKE_SOURCE_DIR}/share ${svg})
  string(REGEX REPLACE "\\.svg$" ".png" relpng ${rel})
  # Icons are drawn on a 16-pixel grid; the window picture is larger.
  if(rel MATCHES "^pixmaps/")
    set(size 128)
  else()
    set(size 32)
  endif()
  add_custom_command(
    OUTPUT ${SORVAN_BUILD_SHARE}/${relpng}
    COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
            $<TARGET_FILE:sorvan_svg2png> ${svg} ${SORVAN_BUILD_SHARE}/${relpng} ${size}
    DEPENDS ${svg} sorvan_svg2png
    COMMENT "Rendering ${relpng}"
    VERBATIM)
  list(APPEND _sorvan_pngs ${SORVAN_BUILD_SHARE}/${relpng})
endforeach()

add_custom_target(sorvan_share ALL
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/share ${SORVAN_BUILD_SHARE}
  DEPENDS ${_sorvan_pngs}
  COMMENT "Assembling the shared-data directory"
  VERBATIM)

install(DIRECTORY ${SORVAN_BUILD_SHARE}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/sorvan
        USE_SOURCE_PERMISSIONS
        PATTERN "__pycache__" EXCLUDE)
