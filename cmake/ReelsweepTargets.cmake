# Flags shared by every target of the project.
add_library(reelsweep_flags INTERFACE)
target_compile_options(reelsweep_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${REELSWEEP_WERROR}>:-Werror>)
target_include_directories(reelsweep_flags INTERFACE $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>)
if(REELSWEEP_SANITIZE)
    target_compile_options(reelsweep_flags INTERFACE
        -fsanitize=${REELSWEEP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
        # Instrumented code hides from GCC that a value was set; the dev preset keeps this warning.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(reelsweep_flags INTERFACE -fsanitize=${REELSWEEP_SANITIZE})
endif()
if(REELSWEEP_FUZZ)
    # What the fuzzers steer by: which branches of the product an input reached.
    target_compile_options(reelsweep_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# reelsweep_layer(NAME SOURCES... [PUBLIC targets...] [PRIVATE targets...])
# One folder of the layer stack as one static library.
function(reelsweep_layer name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(reelsweep_${name} STATIC ${ARG_SOURCES})
    set_target_properties(reelsweep_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_link_libraries(reelsweep_${name}
        PUBLIC ${ARG_PUBLIC} Threads::Threads
        PRIVATE $<BUILD_INTERFACE:reelsweep_flags> ${ARG_PRIVATE})
    target_include_directories(reelsweep_${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>)
endfunction()
