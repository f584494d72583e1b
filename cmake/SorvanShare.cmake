# Assembles the shared-data directory in the build tree: the files of share/
# as they are, and every icon drawn as SVG rendered to the PNG the program
# loads.  The same tree is what `install` puts into <prefix>/share/sorvan.

# Where the installed tree is as seen from the program's directory: a
# relocated or DESTDIR-staged install finds it there (app/Share.cpp).
file(RELATIVE_PATH _sorvan_share_from_bindir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR}/sorvan)
target_compile_definitions(sorvan_config INTERFACE SORVAN_SHARE_FROM_BINDIR="${_sorvan_share_from_bindir}")

add_executable(sorvan_svg2png ${CMAKE_SOURCE_DIR}/tools/svg2png.cpp)
target_link_libraries(sorvan_svg2png PRIVATE sorvan_config Qt6::Gui Qt6::Svg)

file(GLOB_RECURSE _sorvan_svgs CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/share/*.svg)
set(_sorvan_pngs)
function(_sorvan_render svg out size)
  add_custom_command(
    OUTPUT ${out}
    COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
            $<TARGET_FILE:sorvan_svg2png> ${svg} ${out} ${size}
    DEPENDS ${svg} sorvan_svg2png
    VERBATIM)
endfunction()

foreach(svg IN LISTS _sorvan_svgs)
  file(RELATIVE_PATH rel ${CMAKE_SOURCE_DIR}/share ${svg})
  string(REGEX REPLACE "\\.svg$" "" stem ${rel})
  if(rel MATCHES "^pixmaps/")
    _sorvan_render(${svg} ${SORVAN_BUILD_SHARE}/${stem}.png 128)
    list(APPEND _sorvan_pngs ${SORVAN_BUILD_SHARE}/${stem}.png)
  else()
    # Icons are drawn on a 16-pixel grid; the @2x file is what the toolkit
    # picks on a high-density screen.
    _sorvan_render(${svg} ${SORVAN_BUILD_SHARE}/${stem}.png 16)
    _sorvan_render(${svg} ${SORVAN_BUILD_SHARE}/${stem}@2x.png 32)
    list(APPEND _sorvan_pngs ${SORVAN_BUILD_SHARE}/${stem}.png ${SORVAN_BUILD_SHARE}/${stem}@2x.png)
  endif()
endforeach()

add_custom_target(sorvan_share ALL
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/share ${SORVAN_BUILD_SHARE}
  DEPENDS ${_sorvan_pngs}
  COMMENT "Assembling the shared-data directory"
  VERBATIM)

install(DIRECTORY ${SORVAN_BUILD_SHARE}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/sorvan
        USE_SOURCE_PERMISSIONS
        PATTERN "__pycache__" EXCLUDE)
