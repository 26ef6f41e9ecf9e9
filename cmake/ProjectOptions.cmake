# How everything in this tree is compiled. Nothing of it reaches a consumer of the library.
add_library(project_options INTERFACE)

target_compile_definitions(project_options INTERFACE
    # Release builds of Qt drop file, line and function from messages; a device is debugged through its log.
    QT_MESSAGELOGCONTEXT
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_USE_QSTRINGBUILDER
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x050E00)

target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wcast-qual -Wundef
    # Messages name the source file as it lies in the project, wherever that was built.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

# What is installed is hardened: stack protector, checked calls to the C library, and nothing that the loader has bound can
# be overwritten.
add_library(hardened INTERFACE)
target_compile_options(hardened INTERFACE -fstack-protector-strong)
target_compile_definitions(hardened INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
target_link_options(hardened INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
