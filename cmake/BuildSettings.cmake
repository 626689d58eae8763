# How every target is compiled; where programs and libraries are put.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

# Libraries beside the programs, found wherever the build or the installed tree is moved to.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_compile_options(-Wall -Wextra -Wshadow -Woverloaded-virtual -Wmissing-declarations -Wconversion)
if(MIRSKO_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()
if(MIRSKO_SANITIZE)
    set(_sanitize "${MIRSKO_SANITIZE}")
    if(_sanitize MATCHES "undefined")
        string(APPEND _sanitize ",float-cast-overflow")
    endif()
    # Not -Werror: instrumentation itself sets off g++'s flow warnings.
    add_compile_options(-fsanitize=${_sanitize} -fno-sanitize-recover=all -fno-omit-frame-pointer
                        -Wno-maybe-uninitialized -Wno-tsan)
    add_link_options(-fsanitize=${_sanitize})
endif()
