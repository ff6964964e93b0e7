#pragma once

#include <optional>
#include <string>

namespace peekmend {

/// The application's stored values: binary data under text keys, kept across restarts. Usable
/// from any thread.
class UserDefaults {
public:
    UserDefaults() = default;
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    virtual ~UserDefaults() = default;

    /// The data under `key`; none when there is nothing or something that is not data.
    [[nodiscard]] virtual std::optional<std::string> dataForKey(const std::string& key) const = 0;
    /// Sets the data under `key`, replacing any value. It is on disk when the call returns, whole
    /// or not at all; a failure is not reported.
    virtual void setDataForKey(const std::string& key, const std::string& data) = 0;
    /// Removes `key`, if it is there.
    virtual void removeObjectForKey(const std::string& key) = 0;
};

} // namespace peekmend
