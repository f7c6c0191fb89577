#pragma once

enum class MediaKind
{
    Unknown, ///< neither image nor video nor sound
    Image,
    Video, ///< a container that can hold a video; whether there is one in it, VideoFacts tell
    Sound
};

/// What a file is made of. Names follow the content, never the file's name.
enum class MediaFormat
{
    None,
    Jpeg,
    Png,
    WebP,
    Gif,
    Bmp,
    Tiff,
    Pnm,
    Targa,
    OtherImage, ///< read by ffmpeg alone
    Mp4,        ///< and QuickTime
    Matroska,   ///< and WebM
    Avi,
    Flv,
    TransportStream,
    ProgramStream,
    Asf,
    Ogg,
    RawStream, ///< coded images without a container
    OtherVideo,
    Sound
};
