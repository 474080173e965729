# Cross-compiling for 64-bit Windows with Clang, on the headers, the standard library and the linker of Debian's
# MinGW-w64. A second opinion on the sources: what is delivered comes from GCC.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")

# Clang does not find this compiler's folders itself, as Debian adds the name of the thread model to the version.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name
    OUTPUT_VARIABLE gcc_folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(gcc_folder "${gcc_folder}" DIRECTORY)
get_filename_component(gcc_folder "${gcc_folder}" REALPATH)
set(system_folder "${CMAKE_FIND_ROOT_PATH}")

set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

# Not every call of the compiler compiles: what a mere linking does not need is no reason for a warning.
set(quiet "--start-no-unused-arguments")
set(end_quiet "--end-no-unused-arguments")
# The platform's headers come behind Clang's own, which have the intrinsics. Thread-local variables are those of
# GCC's standard library, which has them emulated.
set(CMAKE_C_FLAGS_INIT "${quiet} -nostdlibinc -idirafter ${system_folder}/include ${end_quiet}")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT} ${quiet} -nostdinc++ ${end_quiet} -femulated-tls")
# The platform's STDMETHOD promises to throw nothing, which its STDMETHODIMP does not repeat.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-missing-exception-spec")
foreach(folder c++ c++/x86_64-w64-mingw32 c++/backward)
    string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${gcc_folder}/include/${folder}")
endforeach()

foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT
        "--ld-path=/usr/bin/x86_64-w64-mingw32-ld -B${gcc_folder} -B${system_folder}/lib -L${gcc_folder} -L${system_folder}/lib")
endforeach()

# The standard library and the emulation of thread-local variables stand on the thread library, which this compiler
# does not link.
set(CMAKE_CXX_STANDARD_LIBRARIES
    "-Wl,--start-group -lstdc++ -lgcc_eh -lpthread -Wl,--end-group -lkernel32 -luser32 -lgdi32 -lwinspool -lshell32 -lole32 -loleaut32 -luuid -lcomdlg32 -ladvapi32"
    CACHE STRING "Libraries behind all others")
