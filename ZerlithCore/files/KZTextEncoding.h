/// @file
/// How text is written down in files.
#pragma once

/// The encodings that text files are read in, told apart by the byte-order mark at their beginning, and written in.
enum class KZTextEncoding : unsigned char {
    Utf8,              ///< without a mark
    Utf8WithMark,      ///< the bytes EF BB BF in front
    Utf16LittleEndian, ///< the bytes FF FE in front; usual on Windows
    Utf16BigEndian     ///< the bytes FE FF in front
};
