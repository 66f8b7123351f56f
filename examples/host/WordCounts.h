/// @file
/// What the word counter offers to plug-ins that depend on it.
#pragma once

#include <ZerlithCore/ZerlithCore.h>

#include <utility>
#include <vector>

/// The word counter, as other plug-ins see it: `KZInterfaceOf<WordCountsI>` of the plug-in of identity `Id`.
class WordCountsI : public KZRunPlugIn {
public:
    static constexpr int Iuid = 1001;
    static constexpr KZGuid Id{0x2F6C1D52, 0x4A0B8E11, 0x93C5D7E8, 0x01AB34F0};

    virtual KZString FileName() const = 0;
    virtual long Words() const = 0;
    virtual long Different() const = 0;
    /// The most frequent words with their counts, at most `count`, the most frequent first.
    virtual std::vector<std::pair<KZString, long>> Top(std::size_t count) const = 0;
};
