#include "platform/FileURL.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace peekmend {

FileURL::FileURL(std::string path) : m_path(std::move(path)) {
    if (!m_path.starts_with('/')) {
        std::error_code error;
        m_path = std::filesystem::current_path(error).string() + "/" + m_path;
    }
    while (m_path.size() > 1 && m_path.ends_with('/')) {
        m_path.pop_back();
    }
}

FileURL FileURL::appending(const std::string& relativePath) const {
    return FileURL(m_path + "/" + relativePath);
}

} // namespace peekmend
