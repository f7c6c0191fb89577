# The FFmpeg libraries for demuxing, as the target vxc_ffmpeg: those of FFmpeg 5.1 or later.
find_package(PkgConfig REQUIRED)
pkg_check_modules(VXC_FFMPEG REQUIRED IMPORTED_TARGET libavformat>=59 libavcodec>=59.37 libavutil>=57.28)
add_library(vxc_ffmpeg INTERFACE)
target_link_libraries(vxc_ffmpeg INTERFACE PkgConfig::VXC_FFMPEG)
