# Installs the build tree into a fresh prefix, builds the consumer project against that
# prefix alone and runs it. Called by the package_consumer test with:
#   BUILD_DIR, PREFIX, CONSUMER_SOURCE_DIR, CONSUMER_BINARY_DIR, GENERATOR, CXX_COMPILER,
#   and CONFIG (may be empty).

foreach(_var BUILD_DIR PREFIX CONSUMER_SOURCE_DIR CONSUMER_BINARY_DIR GENERATOR CXX_COMPILER)
    if(NOT DEFINED ${_var} OR "${${_var}}" STREQUAL "")
        message(FATAL_ERROR "run-consumer: ${_var} is not set")
    endif()
endforeach()

function(run_step name)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE _rc)
    if(NOT _rc EQUAL 0)
        message(FATAL_ERROR "run-consumer: ${name} failed (${_rc})")
    endif()
endfunction()

# Leftovers of an earlier run would let a broken install pass.
file(REMOVE_RECURSE "${PREFIX}" "${CONSUMER_BINARY_DIR}")

set(_config_args)
if(NOT "${CONFIG}" STREQUAL "")
    set(_config_args --config "${CONFIG}")
endif()

run_step(install "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}" ${_config_args})

# The package registries would point back into a build tree; only the prefix may serve.
run_step(configure "${CMAKE_COMMAND}"
    -S "${CONSUMER_SOURCE_DIR}" -B "${CONSUMER_BINARY_DIR}"
    -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
    "-DCMAKE_BUILD_TYPE=${CONFIG}"
    "-DCMAKE_PREFIX_PATH=${PREFIX}"
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
    -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF)

file(STRINGS "${CONSUMER_BINARY_DIR}/CMakeCache.txt" _found REGEX "^EffectDisplay_DIR:")
string(REGEX REPLACE "^[^=]*=" "" _found "${_found}")
file(REAL_PATH "${PREFIX}" _prefix)
file(REAL_PATH "${_found}" _found)
string(FIND "${_found}/" "${_prefix}/" _at)
if(NOT _at EQUAL 0)
    message(FATAL_ERROR "run-consumer: EffectDisplay was found in ${_found}, not under ${_prefix}")
endif()

run_step(build "${CMAKE_COMMAND}" --build "${CONSUMER_BINARY_DIR}" ${_config_args})

if(EXISTS "${CONSUMER_BINARY_DIR}/${CONFIG}/consumer")
    set(_program "${CONSUMER_BINARY_DIR}/${CONFIG}/consumer")
else()
    set(_program "${CONSUMER_BINARY_DIR}/consumer")
endif()
run_step(run "${CMAKE_COMMAND}" -E env QT_QPA_PLATFORM=offscreen "${_program}")
