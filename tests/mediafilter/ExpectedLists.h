// What every media list holds, written down by hand and apart from the lists: pattern, container type, default and the
// validators attached, in order.
#pragma once

namespace vt::expected {

// clang-format off
inline constexpr const char* videoAppleLow = R"(
.*\.mp4$ 2 no VTMP4CodecValidator VTH264LowCodecValidator VTDRMVLowCodecValidator
.*\.m4v$ 3 no VTMP4CodecValidator VTH264LowCodecValidator VTDRMVLowCodecValidator
.*\.mov$ 1 no VTMP4CodecValidator VTH264LowCodecValidator VTDRMVLowCodecValidator
)";

inline constexpr const char* videoAppleHigh = R"(
.*\.mp4$ 2 no VTMP4CodecValidator VTH264HighCodecValidator VTDRMVHighCodecValidator
.*\.m4v$ 3 no VTMP4CodecValidator VTH264HighCodecValidator VTDRMVHighCodecValidator
.*\.mov$ 1 no VTMP4CodecValidator VTH264HighCodecValidator VTDRMVHighCodecValidator
.*\.avi$ 5 no VTWindowsMJPEGCodecValidator
)";

inline constexpr const char* videoAppleUnlim = R"(
.*\.mp4$ 2 no VTMP4UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTDRMVUnlimitedCodecValidator VTUnlimitedPJPEGCodecValidator
.*\.m4v$ 2 no VTMP4UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTDRMVUnlimitedCodecValidator VTUnlimitedPJPEGCodecValidator
.*\.mov$ 1 no VTMP4UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTDRMVUnlimitedCodecValidator VTUnlimitedPJPEGCodecValidator
.*\.avi$ 5 no VTUnlimitedWindowsMJPEGCodecValidator
)";

inline constexpr const char* videoUnlim = R"(
.*\.3gp$ 0 yes
.*\.3g2$ 0 yes
.*\.3gp2$ 0 yes
.*\.3gpp$ 0 yes
.*\.asf$ 0 yes
.*\.avi$ 5 yes
.*\.dat$ 0 yes
.*\.divx$ 7 yes
.*\.flv$ 0 yes
.*\.ifo$ 8 yes
.*\.iso$ 9 yes
.*\.m2ts$ 6 yes
.*\.mkv$ 10 yes
.*\.mp4$ 2 yes
.*\.m4v$ 3 yes
.*\.mp4v$ 3 yes
.*\.mpeg$ 11 yes
.*\.mpg$ 11 yes
.*\.mts$ 12 yes
.*\.rm$ 0 yes
.*\.rmvb$ 0 yes
.*\.sami$ 0 yes
.*\.smi$ 0 yes
.*\.srt$ 0 yes
.*\.sub$ 0 yes
.*\.tp$ 0 yes
.*\.trp$ 0 yes
.*\.ts$ 13 yes
.*\.vob$ 14 yes
.*\.webm$ 0 yes
.*\.wm$ 15 yes
.*\.wmv$ 15 yes
.*\.xvid$ 17 yes
.*\.mov$ 1 yes
)";

inline constexpr const char* videoAndroid = R"(
.*\.mkv$ 10 yes
.*\.webm$ 0 yes
.*\.ts$ 11 yes
.*\.3gp$ 0 no VTMPEG4KindleFireCodecValidator VTH263KindleFireCodecValidator VTH264KindleFireCodecValidator
.*\.mp4$ 2 no VTH264KindleFireCodecValidator VTH263KindleFireCodecValidator
)";

inline constexpr const char* videoKindle = R"(
.*\.webm$ 0 yes
.*\.mp4$ 2 no VTH264KindleFireCodecValidator VTH263KindleFireCodecValidator
.*\.3gp$ 0 no VTMPEG4KindleFireCodecValidator VTH263KindleFireCodecValidator VTH264KindleFireCodecValidator
)";

inline constexpr const char* videoKindleHd = R"(
.*\.webm$ 0 yes
.*\.mp4$ 2 no VTH264KindleFireHDCodecValidator VTH263KindleFireHDCodecValidator
.*\.3gp$ 0 no VTMPEG4KindleFireCodecValidator VTH263KindleFireCodecValidator VTH264KindleFireCodecValidator
)";

inline constexpr const char* videoWinrt = R"(
.*\.3gp$ 0 no VTH263UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTMP4UnlimitedCodecValidator
.*\.3g2 0 no VTH263UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTMP4UnlimitedCodecValidator
.*\.3gp2$ 0 no VTH263UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTMP4UnlimitedCodecValidator
.*\.3gpp$ 0 no VTH263UnlimitedCodecValidator VTH264UnlimitedCodecValidator VTMP4UnlimitedCodecValidator
.*\.m4v$ 0 no VTH264WinRTCodecValidator VTH264WindowsRTCodecValidator VTMPEG4WinRTLimitedCodecValidator
.*\.mp4v$ 0 no VTH264WinRTCodecValidator VTH264WindowsRTCodecValidator VTMPEG4WinRTLimitedCodecValidator
.*\.mp4$ 0 no VTH264WinRTCodecValidator VTH264WindowsRTCodecValidator VTMPEG4WinRTLimitedCodecValidator
.*\.mov$ 0 no VTH264WinRTCodecValidator VTH264WindowsRTCodecValidator VTMPEG4WinRTLimitedCodecValidator
.*\.asf$ 0 yes
.*\.wm$ 0 yes
.*\.wmv$ 0 yes
.*\.avi$ 0 yes
)";

inline constexpr const char* audioApple = R"(
.*\.aac$ 4 yes
.*\.mp3$ 18 yes
.*\.wav$ 19 yes
.*\.aiff$ 20 yes
.*\.m4a$ 4 yes VTAudioOnlyCodecValidator
.*\.m4b$ 4 yes VTAudioBookCodecValidator
.*\.mp4$ 2 yes VTAudioOnlyCodecValidator
.*\.mov$ 1 yes VTAudioOnlyCodecValidator
)";

inline constexpr const char* audioAppleUnlim = R"(
.*\.aac$ 4 yes
.*\.mp3$ 18 yes
.*\.wav$ 19 yes
.*\.aiff$ 20 yes
.*\.m4a$ 4 yes VTUnlimitedAudioOnlyCodecValidator
.*\.m4b$ 4 yes VTUnlimitedAudioBookCodecValidator
.*\.mp4$ 2 yes VTUnlimitedAudioOnlyCodecValidator
.*\.mov$ 1 yes VTUnlimitedAudioOnlyCodecValidator
)";

inline constexpr const char* audioUnlim = R"(
.*\.aac$ 4 yes
.*\.ac3$ 21 yes
.*\.ec3$ 21 yes
.*\.adt$ 4 yes
.*\.adts$ 4 yes
.*\.asf$ 0 yes
.*\.flac$ 22 yes
.*\.imy$ 0 yes
.*\.m4a$ 4 yes
.*\.m4b$ 4 yes
.*\.mid$ 0 yes
.*\.midi$ 0 yes
.*\.mp3$ 18 yes
.*\.mp4$ 2 yes
.*\.mxmf$ 0 yes
.*\.ogg$ 23 yes
.*\.ota$ 0 yes
.*\.ra$ 0 yes
.*\.rm$ 0 yes
.*\.rmvb$ 0 yes
.*\.rtttl$ 0 yes
.*\.rtx$ 0 yes
.*\.wav$ 19 yes
.*\.wma$ 16 yes
.*\.m3u$ 24 yes
.*\.pls$ 0 yes
.*\.mov$ 1 yes
.*\.xmf$ 0 yes
.*\.3gp$ 4 no VTAudioKindleFireCodecValidator
)";

inline constexpr const char* audioAndroid = R"(
.*\.aac$ 4 yes
.*\.flac$ 22 yes
.*\.imy$ 0 yes
.*\.mid$ 0 yes
.*\.midi$ 0 yes
.*\.mp3$ 18 yes
.*\.mxmf$ 0 yes
.*\.ogg$ 23 yes
.*\.ota$ 0 yes
.*\.rtttl$ 0 yes
.*\.rtx$ 0 yes
.*\.wav$ 19 yes
.*\.xmf$ 0 yes
.*\.m4a$ 4 no VTAudioKindleFireCodecValidator
.*\.3gp$ 4 no VTAudioKindleFireCodecValidator
)";

inline constexpr const char* audioKindle = R"(
.*\.aac$ 4 yes
.*\.mid$ 0 yes
.*\.midi$ 0 yes
.*\.mp3$ 18 yes
.*\.ogg$ 23 yes
.*\.wav$ 19 yes
.*\.m4a$ 4 no VTAudioKindleFireCodecValidator
.*\.3gp$ 4 no VTAudioKindleFireCodecValidator
)";

inline constexpr const char* audioKindleHd = R"(
.*\.aac$ 4 yes
.*\.ac3$ 21 yes
.*\.ec3$ 21 yes
.*\.mid$ 0 yes
.*\.midi$ 0 yes
.*\.mp3$ 18 yes
.*\.ogg$ 23 yes
.*\.wav$ 19 yes
.*\.m4a$ 4 no VTAudioKindleFireCodecValidator
.*\.3gp$ 4 no VTAudioKindleFireCodecValidator
)";

inline constexpr const char* audioWinrt = R"(
.*\.aac$ 4 no VTAudioAACCodecValidator
.*\.adt$ 4 no VTAudioAACCodecValidator
.*\.adts$ 4 no VTAudioAACCodecValidator
.*\.m4a$ 4 no VTAudioWindowsRTCodecValidator
.*\.ac3$ 21 yes
.*\.ec3$ 21 yes
.*\.mp3$ 18 yes
.*\.wma$ 0 yes
)";

inline constexpr const char* picturesUnlim = R"(
.*\.bmp$ 25 yes
.*\.gif$ 26 yes
.*\.jpeg$ 27 yes
.*\.jpg$ 27 yes
.*\.png$ 28 yes
.*\.tif$ 29 yes
.*\.tiff$ 29 yes
.*\.webp$ 0 yes
.photolibrary 0 yes
.* 0 no VTPhotoBoothSpecialContentValidator
)";

inline constexpr const char* picturesApple = R"(
.*\.bmp$ 25 yes
.*\.gif$ 26 yes
.*\.jpeg$ 27 yes
.*\.jpg$ 27 yes
.*\.png$ 28 yes
.*\.tif$ 29 yes
.*\.tiff$ 29 yes
.photolibrary 0 yes
.* 0 no VTPhotoBoothSpecialContentValidator
)";

inline constexpr const char* picturesKindle = R"(
.*\.bmp$ 25 yes
.*\.gif$ 26 yes
.*\.jpeg$ 27 yes
.*\.jpg$ 27 yes
.*\.png$ 28 yes
.photolibrary 0 yes
.* 0 no VTPhotoBoothSpecialContentValidator
)";

inline constexpr const char* picturesAndroid = R"(
.*\.bmp$ 25 yes
.*\.gif$ 26 yes
.*\.jpeg$ 27 yes
.*\.jpg$ 27 yes
.*\.png$ 28 yes
.*\.webp$ 0 yes
.photolibrary 0 yes
)";

inline constexpr const char* picturesWinrt = R"(
.*\.bmp$ 25 yes
.*\.gif$ 26 yes
.*\.jpeg$ 27 yes
.*\.jpg$ 27 yes
.*\.png$ 28 yes
.*\.tif$ 29 yes
.*\.tiff$ 29 yes
)";

inline constexpr const char* documentsUnlim = R"(
.*\.azw[1-9]?$ 0 yes
.*\.doc$ 30 yes
.*\.docx$ 30 yes
.*\.htm$ 31 yes
.*\.html$ 31 yes
.*\.key$ 32 yes
.*\.mobi$ 0 yes
.*\.numbers$ 33 yes
.*\.pages$ 33 yes
.*\.pdf$ 34 yes
.*\.ppt$ 35 yes
.*\.pptx$ 35 yes
.*\.prc$ 0 yes
.*\.txt$ 36 yes
.*\.rtf$ 37 yes
.*\.vcf$ 38 yes
.*\.xls$ 39 yes
.*\.xlsx$ 39 yes
)";

inline constexpr const char* documentsApple = R"(
.*\.doc$ 30 yes
.*\.docx$ 30 yes
.*\.htm$ 31 yes
.*\.html$ 31 yes
.*\.key$ 32 yes
.*\.numbers$ 33 yes
.*\.pages$ 33 yes
.*\.pdf$ 34 yes
.*\.ppt$ 35 yes
.*\.pptx$ 35 yes
.*\.txt$ 36 yes
.*\.rtf$ 37 yes
.*\.vcf$ 38 yes
.*\.xls$ 39 yes
.*\.xlsx$ 39 yes
)";

inline constexpr const char* documentsKindle = R"(
.*\.azw[1-9]?$ 0 yes
.*\.doc$ 30 yes
.*\.docx$ 30 yes
.*\.mobi$ 0 yes
.*\.prc$ 0 yes
.*\.pdf$ 34 yes
.*\.txt$ 36 yes
)";

inline constexpr const char* documentsAndroid = R"(
.*\.doc$ 30 yes
.*\.docx$ 30 yes
.*\.htm$ 31 yes
.*\.html$ 31 yes
.*\.pdf$ 34 yes
.*\.ppt$ 35 yes
.*\.pptx$ 35 yes
.*\.txt$ 36 yes
.*\.rtf$ 37 yes
.*\.xls$ 39 yes
.*\.xlsx$ 39 yes
)";

// clang-format on

} // namespace vt::expected
