# cpack makes three Debian packages: the program, the libraries that it and other hosts run on, and what one needs to
# build modules and hosts. What is installed has a component of its own name each: program, libraries, development.
if(TARGET animpack AND NOT Z_SANITIZE)
  # From the words of --help.
  set(manuals "")
  foreach(format IN ITEMS man:animpack.1:share/man/man1
                          bash:animpack:share/bash-completion/completions
                          zsh:_animpack:share/zsh/site-functions
                          fish:animpack.fish:share/fish/vendor_completions.d)
    string(REPLACE ":" ";" format ${format})
    list(GET format 0 name)
    list(GET format 1 file)
    list(GET format 2 folder)
    set(output ${CMAKE_BINARY_DIR}/manual/${name}/${file})
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/manual/${name})
    add_custom_command(OUTPUT ${output} COMMAND animpack help --format ${name} > ${output} DEPENDS animpack VERBATIM)
    list(APPEND manuals ${output})
    install(FILES ${output} DESTINATION ${folder} COMPONENT program)
  endforeach()
  add_custom_target(manual ALL DEPENDS ${manuals})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME animpack)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The animation pipeline <pipeline@animpack.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "packer of the animations of FBX scenes for a game's runtime")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL program libraries development)
set(CPACK_COMPONENT_PROGRAM_DEPENDS libraries)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS libraries)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME animpack)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME liborvel-animation)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvel-animation-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
    "command line program that scans, packs and builds asset trees
 Finds takes and rigs in FBX scenes, packs them and shows what it made.")
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION
    "animation module of a game's pipeline, with its libraries
 What a pipeline host loads to pack animations.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "headers of the animation module
 For hosts and modules of one's own, with a package file for CMake.")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/zpackagefiles.cmake)

configure_file(cmake/debian/changelog.in ${CMAKE_BINARY_DIR}/manual/changelog)
foreach(pair IN ITEMS program:animpack libraries:liborvel-animation development:liborvel-animation-dev)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 component)
  list(GET pair 1 package)
  install(FILES cmake/debian/copyright ${CMAKE_BINARY_DIR}/manual/changelog DESTINATION share/doc/${package}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
