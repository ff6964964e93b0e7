#include "platform/FileURL.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace peekmend {

namespace {

std::string workingDirectory() {
    const std::unique_ptr<char, decltype(&std::free)> path(::getcwd(nullptr, 0), &std::free);
    return path ? path.get() : "";
}

} // namespace

FileURL::FileURL(std::string path) : m_path(std::move(path)) {
    if (!m_path.starts_with('/')) {
        m_path = workingDirectory() + "/" + m_path;
    }
    while (m_path.size() > 1 && m_path.ends_with('/')) {
        m_path.pop_back();
    }
}

FileURL FileURL::appending(const std::string& relativePath) const {
    return FileURL(m_path + "/" + relativePath);
}

} // namespace peekmend
