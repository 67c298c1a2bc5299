# What a studio gets: bin/animpack, lib/ with the module and the engine libraries, and, for modules of its own, the
# headers under include/orvel with a package file: find_package(orvel) gives orvel::resource.animation and the libraries
# that it stands on.
include(CMakePackageConfigHelpers)

target_compile_features(orvelbase INTERFACE cxx_std_20) # of whoever includes the headers

install(TARGETS orvelbase system.io system.serializer system.animation resource.core resource.shared resource.animation
        EXPORT orvel LIBRARY DESTINATION lib COMPONENT libraries NAMELINK_COMPONENT libraries)
# The compiler that `animpack effect` takes when none is named; a plug-in that nobody links.
if(TARGET samples.effectcompiler)
  install(TARGETS samples.effectcompiler LIBRARY DESTINATION lib COMPONENT libraries)
endif()
if(TARGET animpack)
  install(TARGETS animpack RUNTIME DESTINATION bin COMPONENT program)
endif()

# Every header that is installed compiles alone, and what it declares is in one of the libraries: tests/package tries it.
get_property(private_headers GLOBAL PROPERTY Z_ALL_PRIVATE_HEADERS)
foreach(header IN LISTS private_headers)
  list(APPEND excluded PATTERN ${header} EXCLUDE)
endforeach()
foreach(folder IN ITEMS base system resource/core resource/_shared)
  install(DIRECTORY ${folder}/ DESTINATION include/orvel/${folder} COMPONENT development FILES_MATCHING PATTERN "*.h" ${excluded})
endforeach()
# Of the module, what it exports and what its host has to know.
foreach(header IN ITEMS resourceanimationmodule.h fbximport/fbxconverter.h frame/animationexception.h
                        frame/animationresourceids.h frame/platform.h)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES resource/animation/${header} DESTINATION include/orvel/resource/animation/${folder}
          COMPONENT development)
endforeach()

install(EXPORT orvel NAMESPACE orvel:: DESTINATION lib/cmake/orvel FILE orvelTargets.cmake COMPONENT development)
file(WRITE ${CMAKE_BINARY_DIR}/orvelConfig.cmake "include(\${CMAKE_CURRENT_LIST_DIR}/orvelTargets.cmake)\n")
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orvelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/orvelConfig.cmake ${CMAKE_BINARY_DIR}/orvelConfigVersion.cmake
        DESTINATION lib/cmake/orvel COMPONENT development)

# Pages and the schema of marks files, for editors.
install(DIRECTORY docs/ DESTINATION share/doc/animpack COMPONENT program)
install(FILES README.md CHANGELOG.md DESTINATION share/doc/animpack COMPONENT program)
if(EXISTS ${PROJECT_SOURCE_DIR}/addons)
  install(DIRECTORY addons/ DESTINATION share/animpack/addons COMPONENT program PATTERN "__pycache__" EXCLUDE)
endif()
