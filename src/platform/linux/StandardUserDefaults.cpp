#include "platform/linux/StandardUserDefaults.h"

#include "platform/linux/FileStorage.h"

#include <cstddef>

namespace peekmend {

namespace {

/// Larger values were not written by this program.
constexpr std::size_t maximumDataSize = std::size_t{4} * 1024 * 1024;

} // namespace

StandardUserDefaults::StandardUserDefaults()
    : m_folder(userDataFolder().transform(
          [](const std::string& folder) { return folder + "/defaults"; })) {}

std::optional<std::string> StandardUserDefaults::dataForKey(const std::string& key) const {
    if (!m_folder) {
        return std::nullopt;
    }
    auto data = readRegularFile(*m_folder + "/" + key, maximumDataSize);
    return data ? std::optional(*std::move(data)) : std::nullopt;
}

void StandardUserDefaults::setDataForKey(const std::string& key, const std::string& data) {
    if (!m_folder || !createFolders(*m_folder)) {
        return;
    }
    if (const auto lock = lockFile(*m_folder + "/lock")) {
        (void)replaceFile(*m_folder + "/" + key, data);
    }
}

void StandardUserDefaults::removeObjectForKey(const std::string& key) {
    if (m_folder) {
        (void)removeFile(*m_folder + "/" + key);
    }
}

} // namespace peekmend
