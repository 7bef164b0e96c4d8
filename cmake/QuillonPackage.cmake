# The CMake package of the core: other projects call find_package(quillon)
# and link quillon::core (every library, the automation layer on top), or
# one layer as quillon::<folder> (quillon::store, quillon::database ...).
include(CMakePackageConfigHelpers)

set(quillon_folders platform common database items render parsers store automation ota)
set(quillon_libraries)
foreach(folder IN LISTS quillon_folders)
  list(APPEND quillon_libraries quillon_${folder})
  set_target_properties(quillon_${folder} PROPERTIES EXPORT_NAME ${folder})
  # Public headers only: internal/ and the platform implementations stay in.
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/ DESTINATION include/quillon/${folder}
          FILES_MATCHING PATTERN "*.h"
          PATTERN internal EXCLUDE PATTERN posix EXCLUDE PATTERN win32 EXCLUDE)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/include/quillon/parser_plugin.h DESTINATION include/quillon)

add_library(quillon_core INTERFACE)
target_link_libraries(quillon_core INTERFACE quillon_automation)
set_target_properties(quillon_core PROPERTIES EXPORT_NAME core)
install(TARGETS ${quillon_libraries} quillon_core EXPORT quillonTargets
        ARCHIVE DESTINATION lib LIBRARY DESTINATION lib)
install(EXPORT quillonTargets NAMESPACE quillon:: DESTINATION lib/cmake/quillon)

set(QUILLON_DATABASE_INSTALL_DIR Database)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quillonConfig.cmake.in
  ${CMAKE_BINARY_DIR}/quillonConfig.cmake INSTALL_DESTINATION lib/cmake/quillon
  PATH_VARS QUILLON_DATABASE_INSTALL_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/quillonConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/quillonConfig.cmake ${CMAKE_BINARY_DIR}/quillonConfigVersion.cmake
        DESTINATION lib/cmake/quillon)
