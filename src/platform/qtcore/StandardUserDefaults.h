#pragma once

#include "platform/UserDefaults.h"

#include <mutex>

namespace peekmend {

/// User defaults in one file of the user's configuration folder.
class StandardUserDefaults : public UserDefaults {
public:
    /// Keeps the values in `file`, an absolute path.
    explicit StandardUserDefaults(std::string file);

    /// In `org.peekmend.Peekmend.ini` of the folder for configuration files.
    StandardUserDefaults();

    [[nodiscard]] std::optional<std::string> dataForKey(const std::string& key) const override;
    void setDataForKey(const std::string& key, const std::string& data) override;
    void removeObjectForKey(const std::string& key) override;

private:
    std::string m_file;
    mutable std::mutex m_mutex;
};

} // namespace peekmend
