# What every target is built with; what only some need is said where they are declared.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

option(IPV6_RIB_WERROR "Treat warnings as errors" OFF)
add_compile_definitions(_GNU_SOURCE)
# A field left out of an initialiser is zero on the wire: that is meant.
add_compile_options(-Wall -Wextra -Wshadow -Wconversion -Wno-missing-field-initializers)
if(IPV6_RIB_WERROR)
    add_compile_options(-Werror)
endif()
# Copies of known size are left to the C library, which has twice the speed of the string instructions that gcc writes in their
# place.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
    add_compile_options(-mmemcpy-strategy=libcall:-1:noalign -mmemset-strategy=libcall:-1:noalign)
endif()

set(IPV6_RIB_SANITIZE "" CACHE STRING "Sanitizers for everything that is built, as -fsanitize= takes them")
if(IPV6_RIB_SANITIZE)
    add_compile_options(-fsanitize=${IPV6_RIB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${IPV6_RIB_SANITIZE})
endif()
