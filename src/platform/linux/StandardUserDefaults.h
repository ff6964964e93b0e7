#pragma once

#include "platform/UserDefaults.h"

namespace peekmend {

/// User defaults in a folder of the user's, each value in a file of its own that is named by the
/// key and holds nothing but the data.
class StandardUserDefaults : public UserDefaults {
public:
    /// Keeps the values in `folder`, an absolute path, which is created when needed.
    explicit StandardUserDefaults(std::string folder) : m_folder(std::move(folder)) {}

    /// Keeps them with what else the program keeps for the current user; nowhere when there is no
    /// place for that.
    StandardUserDefaults();

    [[nodiscard]] std::optional<std::string> dataForKey(const std::string& key) const override;
    void setDataForKey(const std::string& key, const std::string& data) override;
    void removeObjectForKey(const std::string& key) override;

private:
    std::optional<std::string> m_folder;
};

} // namespace peekmend
