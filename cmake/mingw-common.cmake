# Shared by both mingw-w64 toolchains; the including file sets ROTATE_TRIPLE first.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${ROTATE_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${ROTATE_TRIPLE}-g++)
set(CMAKE_RC_COMPILER ${ROTATE_TRIPLE}-windres)
# The plain ar can't index objects that hold link-time code.
set(CMAKE_AR ${ROTATE_TRIPLE}-gcc-ar CACHE FILEPATH "archiver")
set(CMAKE_RANLIB ${ROTATE_TRIPLE}-gcc-ranlib CACHE FILEPATH "archive indexer")
set(CMAKE_FIND_ROOT_PATH /usr/${ROTATE_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# Windows XP is the oldest system; newer calls are looked up by name at run time. The executables
# contain no path of the building machine, so that two builds have the same bytes.
get_filename_component(ROTATE_TOP ${CMAKE_CURRENT_LIST_DIR}/.. ABSOLUTE)
set(CMAKE_CXX_FLAGS_INIT
    "-D_WIN32_WINNT=0x0501 -DWINVER=0x0501 -ffunction-sections -fdata-sections -fno-rtti -flto \
-fno-fat-lto-objects \
-ffile-prefix-map=${ROTATE_TOP}=.")
set(CMAKE_CXX_FLAGS_MINSIZEREL_INIT "-Os -DNDEBUG")
