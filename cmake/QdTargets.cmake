# Interface targets that every target of the project links: qd_options carries the language level,
# the warnings and the sanitizers.

find_package(Threads REQUIRED)

add_library(qd_options INTERFACE)
target_compile_features(qd_options INTERFACE cxx_std_20)
set_target_properties(qd_options PROPERTIES EXPORT_NAME options)

if(NOT PROJECT_IS_TOP_LEVEL)
    # What another project builds has that project's warnings.
elseif(MSVC)
    target_compile_options(qd_options INTERFACE
        $<BUILD_INTERFACE:/utf-8 /permissive- /W4 $<$<BOOL:${QD_WERROR}>:/WX>>)
else()
    target_compile_options(qd_options INTERFACE
        "$<BUILD_INTERFACE:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wconversion;-Wnon-virtual-dtor;-Woverloaded-virtual>"
        $<BUILD_INTERFACE:$<$<BOOL:${QD_WERROR}>:-Werror>>)
endif()

if(QD_SANITIZE)
    target_compile_options(qd_options INTERFACE -fsanitize=${QD_SANITIZE} -fno-sanitize-recover=all
                                                -fno-omit-frame-pointer)
    # What the sanitizers plant makes GCC see uninitialised objects that are none.
    target_compile_options(qd_options INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_compile_definitions(qd_options INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(qd_options INTERFACE -fsanitize=${QD_SANITIZE})
endif()

# What an attacker finds harder: the stack and known buffers are watched, calls and returns checked
# where the processor can, and nothing of the loaded library can be both written and run.
if(NOT QD_SANITIZE AND PROJECT_IS_TOP_LEVEL AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    target_compile_options(qd_options INTERFACE
        "$<BUILD_INTERFACE:-fstack-protector-strong>"
        $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:$<BUILD_INTERFACE:-fcf-protection>>
        "$<BUILD_INTERFACE:$<$<NOT:$<CONFIG:Debug,None,>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>>")
    target_link_options(qd_options INTERFACE
        "$<BUILD_INTERFACE:LINKER:-z,relro,-z,now,-z,noexecstack>")
endif()
