# The few building blocks that every CMakeLists.txt of the tree uses.

# Options shared by all targets of our own.
add_library(qx_options INTERFACE)
target_compile_features(qx_options INTERFACE cxx_std_20)
target_compile_options(qx_options INTERFACE
    -Wall -Wextra -Werror
    # Assertions print __FILE__: keep the path of the build machine out of the product.
    "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
target_include_directories(qx_options INTERFACE
    "${PROJECT_SOURCE_DIR}/include"
    "${PROJECT_SOURCE_DIR}/filters/lib/source")
if(WIN32)
    target_compile_definitions(qx_options INTERFACE
        UNICODE _UNICODE NOMINMAX STRSAFE_NO_DEPRECATE _WIN32_WINNT=0x0601)
    target_link_options(qx_options INTERFACE -static)
    if(QX_NO_TRACE)
        target_compile_definitions(qx_options INTERFACE QX_NO_TRACE=1)
    endif()
else()
    # The Win32 record types come from Wine's headers; wide characters have 16 bits as on Windows.
    target_compile_options(qx_options INTERFACE -fshort-wchar -isystem /usr/include/wine/wine/windows)
    target_compile_definitions(qx_options INTERFACE UNICODE _UNICODE WINE_UNICODE_NATIVE NOMINMAX QX_NATIVE=1)
    target_include_directories(qx_options INTERFACE "${PROJECT_SOURCE_DIR}/tests/native")
    if(QX_SANITIZE)
        target_compile_options(qx_options INTERFACE
            "-fsanitize=${QX_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
        target_link_options(qx_options INTERFACE "-fsanitize=${QX_SANITIZE}")
    endif()
endif()

# What goes into the product: no exceptions, no run-time type information.
add_library(qx_product_options INTERFACE)
target_link_libraries(qx_product_options INTERFACE qx_options)
target_compile_options(qx_product_options INTERFACE -fno-exceptions -fno-rtti)

# qx_library(NAME [SOURCES file...] [WINDOWS_SOURCES file...] [LIBS target...])
# A static library of the product. WINDOWS_SOURCES are left out of the native build.
function(qx_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;WINDOWS_SOURCES;LIBS")
    set(files ${arg_SOURCES})
    if(WIN32)
        list(APPEND files ${arg_WINDOWS_SOURCES})
    endif()
    if(NOT files)
        # Nothing of it is in this build: what it stands on is.
        add_library(${name} INTERFACE)
        target_link_libraries(${name} INTERFACE ${arg_LIBS})
        return()
    endif()
    add_library(${name} STATIC ${files})
    target_link_libraries(${name} PRIVATE qx_product_options PUBLIC ${arg_LIBS})
endfunction()

# Programs of the cross build run under Wine, in a prefix of the build folder that the fixture wine_prefix makes.
if(WIN32 AND NOT CMAKE_HOST_WIN32)
    set(QX_TEST_ENVIRONMENT
        "WINEPREFIX=${PROJECT_BINARY_DIR}/wine"
        "WINEDEBUG=-all"
        "WINEDLLOVERRIDES=mscoree,mshtml,winemenubuilder.exe,winedbg.exe=d")
endif()

# qx_test_code(TARGET): how the code of the tests is compiled. Building them takes most of a first run, and most of that
# goes into headers, and into optimising checks that run once. So their headers are compiled beforehand
# (-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON shows that each file includes what it needs), and only the library is fast.
if(QX_SANITIZE)
    set(qx_test_flags -Og -g1)
else()
    set(qx_test_flags -O1)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Where it optimises little, this compiler sees faults in std::string that are not there; and so many lines make
    # it report that it cannot warn of indentation.
    list(APPEND qx_test_flags
        -Wno-array-bounds -Wno-stringop-overread -Wno-stringop-overflow -Wno-misleading-indentation)
endif()
function(qx_test_code name)
    target_link_libraries(${name} PRIVATE gtest qx_options)
    target_compile_options(${name} PRIVATE ${qx_test_flags})
    target_precompile_headers(${name} REUSE_FROM qx_test_headers)
endfunction()

# qx_test(NAME SOURCES file... [LIBS target...] [LABELS label...] [TIMEOUT seconds])
# A GoogleTest program that CTest runs (under Wine in the cross build).
function(qx_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBS;LABELS")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBS} qx_test_support gtest_main gtest qx_options)
    if(WIN32)
        target_link_libraries(${name} PRIVATE qx_test_frame)
    endif()
    qx_test_code(${name})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
    set(test ${name})
    if(NOT WIN32)
        set(test native.${name}) # both builds stand in one summary
    endif()
    add_test(NAME ${test} COMMAND ${name})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    set_tests_properties(${test} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}")
    if(QX_TEST_ENVIRONMENT)
        # Starts a program again that Wine did not start.
        set_target_properties(${name} PROPERTIES
            CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/tests/wine/start")
        set_tests_properties(${test} PROPERTIES
            ENVIRONMENT "${QX_TEST_ENVIRONMENT}" FIXTURES_REQUIRED wine_prefix)
    endif()
endfunction()
