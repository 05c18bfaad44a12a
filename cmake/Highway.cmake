# Google Highway, headers only: `zor_highway` shows them to the folders with vector loops. They hold no code of a
# processor, so one installed copy serves every target; a folder of their own keeps a cross compiler from seeing the
# build machine's other headers beside them.
find_path(ZOR_HIGHWAY_INCLUDE_DIR hwy/highway.h REQUIRED
  PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH DOC "The folder that holds hwy/highway.h")

file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/highway)
file(CREATE_LINK ${ZOR_HIGHWAY_INCLUDE_DIR}/hwy ${PROJECT_BINARY_DIR}/highway/hwy SYMBOLIC)
add_library(zor_highway INTERFACE)
target_include_directories(zor_highway SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/highway)
