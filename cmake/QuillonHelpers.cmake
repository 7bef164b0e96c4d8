# quillon_library(<name> DEPS <targets...>)
# One static library per folder, built from every .cpp in the folder. The
# include root is the project root, so headers are included as
# "folder/header.h".
function(quillon_library name)
  cmake_parse_arguments(ARG "" "" "DEPS;SOURCES" ${ARGN})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                              $<INSTALL_INTERFACE:include/quillon>)
    target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  else()
    # A folder whose code is still header-only.
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                                 $<INSTALL_INTERFACE:include/quillon>)
    target_link_libraries(${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()
