# One interface target carries the language, the warnings and the sanitizers for everything that is ours.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(QUILLBOX_CCACHE ccache)
if(QUILLBOX_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${QUILLBOX_CCACHE})
endif()

add_library(quillbox_settings INTERFACE)
# Warnings are errors in every build that is made for tests. With optimisation two of them take the standard
# library's own code for faults of ours, so those are off there, and none is fatal.
target_compile_options(quillbox_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wformat=2
    $<IF:$<CONFIG:Debug>,-Wnull-dereference,-Wno-maybe-uninitialized>
    $<$<CONFIG:Debug>:-Werror>)
target_include_directories(quillbox_settings INTERFACE ${PROJECT_SOURCE_DIR}/src)
if(QUILLBOX_SANITIZE)
    target_compile_options(quillbox_settings INTERFACE
        -fsanitize=${QUILLBOX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O0 -g1
        -Wno-null-dereference -Wno-maybe-uninitialized)
    target_link_options(quillbox_settings INTERFACE -fsanitize=${QUILLBOX_SANITIZE})
endif()
