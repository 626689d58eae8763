# The kinds of target that this project is made of.

# mirsko_sdk_library(<Name> SOURCES … DEPENDS <our libraries> EXTERNAL <imported targets>)
# A shared library of the SDK, and <Name>_objects, what it is made of. Its public headers are
# sdk/include/<Name>/*.h; each is compiled on its own by the target all_verify_interface_header_sets.
#
# Tests of what the library does not export link the objects in place of the library, together with
# the libraries that it depends on. A program that had both would have two of each singleton, so CMake
# refuses to generate it.
function(mirsko_sdk_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;DEPENDS;EXTERNAL")
    file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/sdk/include/${name}/*.h)
    add_library(${name}_objects OBJECT ${arg_SOURCES})
    target_include_directories(${name}_objects PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name}_objects PUBLIC sdk_headers sdk_internal ${arg_EXTERNAL})
    add_library(${name} SHARED $<TARGET_OBJECTS:${name}_objects>)
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/sdk/include
                                  FILES ${headers})
    target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE ${arg_EXTERNAL})
    set(exports ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/exports.map)
    target_link_options(${name} PRIVATE -Wl,--version-script=${exports})
    # clang's sanitizer runtimes are in the program, not in libraries.
    if(NOT MIRSKO_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
    set_target_properties(${name} PROPERTIES
        # A program's own path is not asked for what only a library needs.
        INSTALL_RPATH "$ORIGIN:/lib:/lib/genicam/bin/Linux64_ARM"
        BUILD_WITH_INSTALL_RPATH ON
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        LINKER_LANGUAGE CXX LINK_DEPENDS ${exports}
        INTERFACE_MIRSKO_${name}_COMES_AS library)
    set_target_properties(${name}_objects PROPERTIES INTERFACE_MIRSKO_${name}_COMES_AS objects)
    foreach(target ${name} ${name}_objects)
        set_property(TARGET ${target} PROPERTY COMPATIBLE_INTERFACE_STRING
                     MIRSKO_SDK_KIND MIRSKO_${name}_COMES_AS)
        # Strings and results are plain values; the scripted SDK of the tests uses the real ones.
        if(NOT name MATCHES "^(NxBase|NyUtilsLib)$")
            set_property(TARGET ${target} PROPERTY INTERFACE_MIRSKO_SDK_KIND real)
        endif()
    endforeach()
    # The public headers are plain C++17.
    target_compile_features(${name} INTERFACE cxx_std_17)
    install(TARGETS ${name} EXPORT NxSdk
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT updater NAMELINK_COMPONENT development
        FILE_SET HEADERS COMPONENT development)
endfunction()

# mirsko_scripted_sdk(<name> SOURCES …)
# A static library that implements the SDK for tests. Linking it together with a real library of the
# SDK is an error when CMake generates.
function(mirsko_scripted_sdk name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES")
    add_library(${name} STATIC ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES
        INTERFACE_MIRSKO_SDK_KIND scripted
        COMPATIBLE_INTERFACE_STRING MIRSKO_SDK_KIND)
endfunction()

# mirsko_app_folder(<name> SOURCES … USES <folders>)
# One folder of the updater, as an object library that lets others see only its own headers.
function(mirsko_app_folder name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    add_library(${name} OBJECT ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC sdk_headers PRIVATE ${arg_USES})
endfunction()

# mirsko_program(<name> COMPONENT <component> SOURCES … LIBRARIES … [INSTALLED_RUN_PATH <folders>])
# A program in <build>/bin, installed with its component. The installed one looks for its libraries in the folders named, by default
# beside itself.
#
# Run paths are linked as they are installed: where CMake has to replace one, it ends the one of the
# build tree with empty entries, and the dynamic linker takes an empty entry for the current folder. A
# program whose installed run path leads nowhere in the build tree is therefore linked twice.
function(mirsko_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT;INSTALLED_RUN_PATH" "SOURCES;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
    set(beside "$ORIGIN/../lib")
    if(NOT CMAKE_INSTALL_LIBDIR STREQUAL "lib")
        string(PREPEND beside "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}:")
    endif()
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "${beside}" BUILD_WITH_INSTALL_RPATH ON)
    if(NOT arg_INSTALLED_RUN_PATH)
        install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
                                        COMPONENT ${arg_COMPONENT})
        return()
    endif()
    add_executable(${name}_installed ${arg_SOURCES})
    target_link_libraries(${name}_installed PRIVATE ${arg_LIBRARIES})
    set_target_properties(${name}_installed PROPERTIES
        OUTPUT_NAME ${name} RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/installed
        INSTALL_RPATH "${arg_INSTALLED_RUN_PATH}" BUILD_WITH_INSTALL_RPATH ON)
    install(TARGETS ${name}_installed RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
                                              COMPONENT ${arg_COMPONENT})
endfunction()

# mirsko_precompile(<target> <header>…)
# Precompiles headers for clang. GCC takes longer to load nlohmann's or CLI11's, for each source whether
# it uses them or not, than to compile what is used of them.
function(mirsko_precompile target)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()

# mirsko_test(<name> LABEL <label> SOURCES … LIBRARIES … [ISOLATED] [JSON] [SERIAL] [SINGLE_THREADED])
# A GoogleTest program; each of its tests is one CTest test. ISOLATED tests each run in network,
# process and mount namespaces of their own (tests/isolated.sh). JSON gives the sources nlohmann's
# header precompiled; without it they are spared the half second that its mere presence costs each.
# SINGLE_THREADED: neither the tests nor what they test have threads, so the thread sanitizer could
# find nothing and they are left out of its build.
function(mirsko_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "ISOLATED;JSON;SERIAL;SINGLE_THREADED" "LABEL"
                          "SOURCES;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} test_support GTest::gmock_main)
    if(arg_JSON)
        target_precompile_headers(${name} REUSE_FROM test_precompiled_json)
    else()
        target_precompile_headers(${name} REUSE_FROM test_precompiled)
    endif()
    if(MIRSKO_SANITIZE MATCHES "undefined")
        # What is tested is compiled with these checks; in the tests themselves they take two fifths of
        # the compile time.
        target_compile_options(${name} PRIVATE -fno-sanitize=undefined,float-cast-overflow)
    endif()
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(arg_ISOLATED)
        set_property(TARGET ${name} PROPERTY CROSSCOMPILING_EMULATOR
                     ${PROJECT_SOURCE_DIR}/tests/isolated.sh ${CMAKE_CROSSCOMPILING_EMULATOR})
    endif()
    if(arg_SINGLE_THREADED AND MIRSKO_SANITIZE MATCHES "thread")
        set_property(TARGET ${name} PROPERTY EXCLUDE_FROM_ALL ON)
        return()
    endif()
    # Tests that wait longest start first, so that the others run meanwhile.
    set(cost 0)
    if(arg_LABEL STREQUAL "end_to_end")
        set(cost 3)
    elseif(arg_LABEL STREQUAL "peers")
        set(cost 2)
    elseif(arg_LABEL STREQUAL "sdk")
        set(cost 1)
    endif()
    if(MIRSKO_SANITIZE)
        set(arg_SERIAL OFF)  # there nothing is measured
    endif()
    # A timeout ends what hangs; it does not measure speed.
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 TEST_PREFIX "${arg_LABEL}/"
                         PROPERTIES LABELS ${arg_LABEL} TIMEOUT 600 COST ${cost}
                                    RUN_SERIAL ${arg_SERIAL})
endfunction()

# mirsko_fuzz_target(<name> SOURCES … LIBRARIES … [MAX_LENGTH <bytes>])
# A source with LLVMFuzzerTestOneInput. With MIRSKO_BUILD_FUZZERS a libFuzzer program, else a CTest
# test that runs every file of tests/fuzz/corpus/<name>/. docs/test-quality.md describes both.
function(mirsko_fuzz_target name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "MAX_LENGTH" "SOURCES;LIBRARIES")
    set(folder ${PROJECT_SOURCE_DIR}/tests/fuzz)
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
    if(MIRSKO_BUILD_FUZZERS)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
        add_dependencies(fuzz_programs ${name})
        if(NOT arg_MAX_LENGTH)
            set(arg_MAX_LENGTH 4096)
        endif()
        file(WRITE ${CMAKE_BINARY_DIR}/fuzz/${name}.max_len ${arg_MAX_LENGTH})
    else()
        target_sources(${name} PRIVATE ${folder}/ReplayMain.cpp)
        add_test(NAME fuzz/${name} COMMAND ${name} ${folder}/corpus/${name})
        set_tests_properties(fuzz/${name} PROPERTIES LABELS fuzz TIMEOUT 120)
    endif()
endfunction()
