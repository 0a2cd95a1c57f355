# Installs the built library into a scratch prefix and builds a small C
# program against it twice: through find_package(kovral) and through
# pkg-config. Usage: cmake -DSOURCE_DIR=.. -DBINARY_DIR=.. -DWORK_DIR=.. -DLIBDIR=lib -P install_check.cmake
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix})

# A consumer project that finds the installed package.
set(consumer ${WORK_DIR}/consumer)
file(MAKE_DIRECTORY ${consumer})
file(COPY ${SOURCE_DIR}/tests/api/installed_consumer.c DESTINATION ${consumer})
file(WRITE ${consumer}/CMakeLists.txt
  "cmake_minimum_required(VERSION 3.25)\nproject(consumer C)\nfind_package(kovral 1.0 REQUIRED)\n"
  "add_executable(consumer installed_consumer.c)\ntarget_link_libraries(consumer PRIVATE kovral::kovral)\n")
run(${CMAKE_COMMAND} -S ${consumer} -B ${consumer}/build -G Ninja -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${consumer}/build)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${consumer}/build/consumer)

# The same program through pkg-config.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/${LIBDIR}/pkgconfig
                          ${PKG_CONFIG} --cflags --libs kovral
                  OUTPUT_VARIABLE flags RESULT_VARIABLE rc OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know kovral")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(cc ${consumer}/installed_consumer.c ${flags} -o ${WORK_DIR}/consumer_pc)
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${WORK_DIR}/consumer_pc)
else()
  message(FATAL_ERROR "pkg-config not found")
endif()
