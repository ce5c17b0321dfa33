# Where things are installed. The install rules are beside the targets.
#
#   lib/tavrel       the program's folder: the programs, and a link to the database
#   bin              links to the programs, under names that begin with tavrel
#   /var/lib/tavrel  the database; the Debian package makes it, `cmake --install` does not

set(CMAKE_INSTALL_DOCDIR share/doc/tavrel)
include(GNUInstallDirs)
find_program(GZIP gzip REQUIRED)
find_program(HELP2MAN help2man REQUIRED)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tavrel)
set(programFolder lib/tavrel)
set(installedDatabase /var/lib/tavrel/Orvanta.mdb)

# Adds to the build a copy of `source`, compressed and named `name`.gz, which is installed in
# `folder`. Further arguments are passed to install().
function(install_compressed source name folder)
    set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
        COMMAND ${GZIP} --best --no-name --stdout ${source} >${compressed}
        DEPENDS ${source})
    add_custom_target(compress-${name} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${folder} ${ARGN})
endfunction()

# Installs `target`, and a link to it named `command`. Further arguments of this and the next function are
# passed to install().
function(install_program target command)
    install(TARGETS ${target} DESTINATION ${programFolder} ${ARGN})
    get_target_property(file ${target} OUTPUT_NAME)
    if(NOT file)
        set(file ${target})
    endif()
    file(RELATIVE_PATH program ${CMAKE_INSTALL_FULL_BINDIR}
        ${CMAKE_INSTALL_PREFIX}/${programFolder}/${file})
    file(CREATE_LINK ${program} ${CMAKE_CURRENT_BINARY_DIR}/${command} SYMBOLIC)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${command} TYPE BIN ${ARGN})
endfunction()

# Installs a man page for `command`, made from the --help of `target` and the sections in `target`.h2m.
function(install_man_page_of_help target command)
    set(page ${CMAKE_CURRENT_BINARY_DIR}/${command}.1)
    set(named ${CMAKE_CURRENT_BINARY_DIR}/named/${command}) # the page shows the name by which it was called
    add_custom_command(OUTPUT ${page}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/named
        COMMAND ${CMAKE_COMMAND} -E create_symlink $<TARGET_FILE:${target}> ${named}
        COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C.UTF-8 ${HELP2MAN} --no-info --source Tavrel
            --include ${CMAKE_CURRENT_SOURCE_DIR}/${target}.h2m --output ${page} ${named}
        DEPENDS ${target} ${target}.h2m)
    install_compressed(${page} ${command}.1 ${CMAKE_INSTALL_MANDIR}/man1 ${ARGN})
endfunction()
