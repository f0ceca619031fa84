include(${CMAKE_CURRENT_LIST_DIR}/qdcore-targets.cmake)
