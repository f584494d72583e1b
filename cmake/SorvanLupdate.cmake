# cmake -DLUPDATE=<lupdate> -DSOURCE_DIR=<tree> -DWORK_DIR=<dir> -DDIRS=<a,b,...> -P SorvanLupdate.cmake
#
# Brings translations/*.ts up to date with the texts of the sources in DIRS.
# lupdate 6.4 misreads an enumeration with a fixed underlying type
# (`enum Kind : int {`): the classes declared after it lose their namespace,
# and their texts land in contexts the program never asks for.  So lupdate
# reads a copy of the sources with those bases dropped, laid out like the
# tree (same relative paths, same lines), so that the references in the .ts
# files point at the real sources.

foreach(var LUPDATE SOURCE_DIR WORK_DIR DIRS)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "SorvanLupdate.cmake: ${var} is not set")
  endif()
endforeach()

string(REPLACE "," ";" DIRS "${DIRS}")
file(REMOVE_RECURSE ${WORK_DIR})
set(sources)
foreach(dir IN LISTS DIRS)
  file(GLOB files RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${dir}/*.cpp ${SOURCE_DIR}/${dir}/*.h)
  foreach(file IN LISTS files)
    file(READ ${SOURCE_DIR}/${file} text)
    string(REGEX REPLACE "(enum[ \t]+[A-Za-z_][A-Za-z0-9_]*)[ \t]*:[ \t]*[A-Za-z_][A-Za-z0-9_:]*([ \t\n]*{)"
                         "\\1\\2" text "${text}")
    file(WRITE ${WORK_DIR}/${file} "${text}")
    list(APPEND sources ${WORK_DIR}/${file})
  endforeach()
endforeach()

file(GLOB ts_files RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/translations/*.ts)
foreach(ts IN LISTS ts_files)
  configure_file(${SOURCE_DIR}/${ts} ${WORK_DIR}/${ts} COPYONLY)
  execute_process(
    COMMAND ${LUPDATE} -no-obsolete -locations relative -I ${WORK_DIR} ${sources} -ts ${WORK_DIR}/${ts}
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "lupdate failed on ${ts}; it is left as it was")
  endif()
  # Written only when lupdate changed something.
  configure_file(${WORK_DIR}/${ts} ${SOURCE_DIR}/${ts} COPYONLY)
endforeach()
