/// @file
/// How text is encoded in files.
///
///     KZOFileStream out(u"list.txt", std::ios_base::out, KZTextEncoding::Utf16LittleEndian);
///     out << L"written in UTF-16" << std::endl;
#pragma once

/// The encodings in which text files are read and written. On reading the byte-order mark at the beginning of the file decides.
///
/// Thread safety: a plain value.
enum class KZTextEncoding : unsigned char {
    Utf8,              ///< without a mark
    Utf8WithMark,      ///< begins with the bytes EF BB BF
    Utf16LittleEndian, ///< begins with the bytes FF FE; usual on Windows
    Utf16BigEndian     ///< begins with the bytes FE FF
};
