/// @file
/// The system's time zones in the form of a small registry: each zone is a key with a path, and a key has named
/// values.
///
///     std::optional<KZPlatform::ZoneKey> const key = KZPlatform::OpenZoneKey(path);
///     if (key) name = key->Text(u"Std").value_or(u"");    // "Tokyo Standard Time"
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace KZPlatform {

/// The values of one key. Asking for a value as another type than it has gives nothing.
class ZoneKey {
public:
    using Value = std::variant<std::u16string, std::string, std::uint32_t>;

    void Set(std::u16string_view name, Value value) {
        values_.insert_or_assign(std::u16string(name), std::move(value));
    }
    [[nodiscard]] std::optional<std::u16string> Text(std::u16string_view name) const {
        return Get<std::u16string>(name);
    }
    [[nodiscard]] std::optional<std::string> Bytes(std::u16string_view name) const {
        return Get<std::string>(name);
    }
    [[nodiscard]] std::optional<std::uint32_t> Number(std::u16string_view name) const {
        return Get<std::uint32_t>(name);
    }

private:
    template <class T>
    std::optional<T> Get(std::u16string_view name) const {
        auto const found = values_.find(name);
        T const * const value = found == values_.end() ? nullptr : std::get_if<T>(&found->second);
        return value ? std::optional<T>(*value) : std::nullopt;
    }

    std::map<std::u16string, Value, std::less<>> values_;
};

/// The key at `path`: one that `PutZoneKey` stored, otherwise one made from the system's zone data. Nothing when
/// there is none, or when the zone's data is damaged. The case of a path doesn't matter.
///
/// Errors: throws std::system_error when the data can't be read at present, for lack of file handles for example; its
/// number is also the thread's last error. A failure isn't remembered, so the next call may succeed.
///
/// Thread safety: this and the next three functions are callable from any thread.
[[nodiscard]] std::optional<ZoneKey> OpenZoneKey(std::u16string_view path);
/// The names of the keys directly below `path`, sorted.
[[nodiscard]] std::vector<std::u16string> ListZoneKeys(std::u16string_view path);
/// Stores a key, which then comes before one that the system has. Without a `key` it removes the stored one.
void PutZoneKey(std::u16string_view path, std::optional<ZoneKey> key);

/// The zone of this computer, with the values that a zone's key has. It is UTC when the computer's setting names no
/// zone that the system has. Errors: as for `OpenZoneKey`.
[[nodiscard]] ZoneKey LocalZoneKey();

} // namespace KZPlatform
