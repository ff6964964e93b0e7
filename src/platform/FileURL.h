#pragma once

#include <string>

namespace peekmend {

/// A file's location: an absolute path, in the bytes that the file system uses.
class FileURL {
public:
    /// From a path, absolute or relative to the working directory. Links are not resolved and
    /// nothing is looked up; slashes at the end are dropped.
    explicit FileURL(std::string path);

    [[nodiscard]] const std::string& path() const { return m_path; }

    /// The location of `relativePath` inside this directory.
    [[nodiscard]] FileURL appending(const std::string& relativePath) const;

    bool operator==(const FileURL&) const = default;

private:
    std::string m_path;
};

} // namespace peekmend
