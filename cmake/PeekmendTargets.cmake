# What every target of this project is compiled and linked with. Applied per target, so that
# nothing leaks into what a library brings along.
add_library(peekmend_options INTERFACE)
target_compile_options(peekmend_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wformat=2 -Wundef -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # The standard library's own stable sort uses what it deprecates.
    target_compile_options(peekmend_options INTERFACE -Wno-deprecated-declarations)
endif()
# What users get reads other people's bundles: a memory error that is left must not become more.
set(hardened "$<CONFIG:Release>")
target_compile_definitions(peekmend_options INTERFACE $<${hardened}:_GLIBCXX_ASSERTIONS>)
target_compile_options(peekmend_options INTERFACE
    $<${hardened}:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -ftrivial-auto-var-init=zero
    -fstack-protector-strong -fstack-clash-protection>)
target_link_options(peekmend_options INTERFACE
    $<${hardened}:LINKER:-z,relro,-z,now,-z,noexecstack>)
if(PEEKMEND_SANITIZERS)
    target_compile_options(peekmend_options INTERFACE
        -fsanitize=${PEEKMEND_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(peekmend_options INTERFACE -fsanitize=${PEEKMEND_SANITIZERS})
endif()

# One room of the house. Its headers are included as "room/Header.h".
function(peekmend_room name)
    add_library(peekmend_${name} STATIC ${ARGN})
    target_include_directories(peekmend_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(peekmend_${name} PRIVATE peekmend_options)
endfunction()
