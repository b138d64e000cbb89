# Installs a build into a prefix of its own, builds print_motion against what was installed there, and runs it.
#   cmake -D build=FOLDER -D work=FOLDER -D config=NAME -D generator=NAME -D compiler=PATH -D flags=FLAGS -P this
# `build` is a finished build of Orvane; `work` is made anew; `flags` are what that build asks of its users' compiler.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}\nended with ${result}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

set(prefix ${work}/prefix)
set(user ${work}/build)
file(REMOVE_RECURSE ${work})
unset(ENV{DESTDIR}) # the prefix is the whole way
run(${CMAKE_COMMAND} --install ${build} --prefix ${prefix} --config ${config})

# Only the prefix may be searched: an Orvane elsewhere on the machine, or the build itself, must not serve.
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${user} -G ${generator} -D CMAKE_BUILD_TYPE=${config}
    -D CMAKE_CXX_COMPILER=${compiler} "-DCMAKE_CXX_FLAGS=${flags}" -D CMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
    -D CMAKE_PREFIX_PATH=${prefix})
file(STRINGS ${user}/CMakeCache.txt found REGEX "^orvane_DIR:")
string(FIND "${found}" "=${prefix}/" at)
if(at EQUAL -1)
  message(FATAL_ERROR "found another package than the installed one: ${found}")
endif()
run(${CMAKE_COMMAND} --build ${user} --config ${config})

find_program(program print_motion PATHS ${user} ${user}/${config} NO_DEFAULT_PATH REQUIRED)
file(WRITE ${work}/motion.set "HSET\n3 1 0 2.5 0 1 -1.5 0 0 1\n4 2 0 8 0 2 6 0 0 2\n")
run(${program} ${work}/motion.set)
set(expected "3\n1 0 2.5\n0 1 -1.5\n0 0 1\n4\n1 0 4\n0 1 3\n0 0 1\n")
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "print_motion printed\n${output}instead of\n${expected}")
endif()
