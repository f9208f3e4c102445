# Installs the built library into a scratch prefix (or, given DEB_DIR, unpacks
# the Debian packages there with dpkg -x), then builds and runs a small consumer
# through find_package(netloom CONFIG) and through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}")
  endif()
endfunction()

if(NOT CONFIG)
  set(CONFIG Debug)
endif()
string(REPLACE ";" " " flags "${EXTRA_FLAGS}")

if(DEB_DIR)
  file(GLOB debs ${DEB_DIR}/*.deb)
  list(LENGTH debs count)
  if(NOT count EQUAL 2)
    message(FATAL_ERROR "expected the two packages libnetloom0 and libnetloom-dev in ${DEB_DIR}, "
                        "found: ${debs}")
  endif()
  file(MAKE_DIRECTORY ${WORK_DIR}/root)
  foreach(deb ${debs})
    run(dpkg-deb --info ${deb})
    run(dpkg -x ${deb} ${WORK_DIR}/root)
  endforeach()
  set(prefix ${WORK_DIR}/root/usr)
else()
  run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} --config ${CONFIG})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/consumer -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_BUILD_TYPE=${CONFIG} "-DCMAKE_CXX_FLAGS=${flags}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer --config ${CONFIG})
run(${WORK_DIR}/consumer/consumer)

find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB_RECURSE pcfile ${prefix}/*/netloom.pc)
  get_filename_component(pcdir "${pcfile}" DIRECTORY)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pcdir}
                          ${PKG_CONFIG} --cflags --libs netloom
                  OUTPUT_VARIABLE pcflags RESULT_VARIABLE rc OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not find netloom in ${pcdir}")
  endif()
  separate_arguments(pcflags UNIX_COMMAND "${pcflags}")
  separate_arguments(extra UNIX_COMMAND "${flags}")
  find_program(CXX NAMES c++ g++ clang++)
  string(REGEX MATCH "-L[^ ;]+" libflag "${pcflags}")
  string(SUBSTRING "${libflag}" 2 -1 libdir)
  run(${CXX} -std=c++17 ${extra} ${SOURCE_DIR}/consumer.cpp ${pcflags} -Wl,-rpath,${libdir}
      -o ${WORK_DIR}/pc_consumer)
  run(${WORK_DIR}/pc_consumer)
endif()
