/// @file
/// The system's time zones, in the shape of a small registry: keys by path, with named values.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace KZPlatform {

/// The values of one key. A value of another kind than is asked for counts as missing.
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

/// The key at `path`: one that was put there, or one made from the system's zone data. Nothing where there is none, or
/// where its data is damaged. Paths ignore case.
///
/// Errors: throws std::system_error when the data can't be read at present, for lack of file handles, say; the number is
/// the thread's last error, too. Nothing of that is kept, so the same question may have an answer later.
///
/// Thread safety: callable from any thread, as are the next three.
[[nodiscard]] std::optional<ZoneKey> OpenZoneKey(std::u16string_view path);
/// The names of the keys right below `path`, in order.
[[nodiscard]] std::vector<std::u16string> ListZoneKeys(std::u16string_view path);
/// Puts a key into the store, in front of what the system has; without a `key` takes such a one away again.
void PutZoneKey(std::u16string_view path, std::optional<ZoneKey> key);

/// The zone of this computer with the values that a zone's key has. It is UTC where the setting names no zone of the
/// system's. Errors: as for `OpenZoneKey`.
[[nodiscard]] ZoneKey LocalZoneKey();

} // namespace KZPlatform
