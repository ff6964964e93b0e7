#pragma once

#include "platform/Error.h"
#include "platform/SystemTools.h"
#include "platform/UserDefaults.h"

#include <gtest/gtest.h>

#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace peekmend {

/// How a failed check prints an error.
void PrintTo(const Error& error, std::ostream* stream);

} // namespace peekmend

namespace peekmend::test {

/// The program that plays children.
inline const std::string childProgram = PEEKMEND_TEST_CHILD;

/// A folder of its own for one test, removed afterwards.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::string& path() const { return m_path; }

    [[nodiscard]] std::string operator/(std::string_view name) const {
        return m_path + "/" + std::string(name);
    }

    /// Writes a file, with the folders above it, and returns its path.
    std::string write(std::string_view name, std::string_view contents) const;

    /// Writes an executable shell script.
    std::string writeScript(std::string_view name, std::string_view commands) const;

private:
    std::string m_path;
};

/// An Info.plist that declares these content types.
[[nodiscard]] std::string contentTypesPlist(std::initializer_list<std::string_view> types);

/// The bytes of a file; empty where there is none.
[[nodiscard]] std::string readFile(const std::string& path);

/// Waits until the condition holds. False when it does not within a minute, far beyond what any
/// machine needs.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);

/// The open descriptors, the threads and the children of this process.
struct Resources {
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t children = 0;

    bool operator==(const Resources&) const = default;

    [[nodiscard]] static Resources inUse();

    /// Those in use once the pool's threads of earlier tests have gone away.
    [[nodiscard]] static Resources atRest();
};

/// Stands in for the tools while it lives.
class ReplacedTools {
public:
    explicit ReplacedTools(const SystemTools& tools) : m_before(SystemTools::current()) {
        SystemTools::replace(tools);
    }

    ReplacedTools(const ReplacedTools&) = delete;
    ReplacedTools& operator=(const ReplacedTools&) = delete;

    ~ReplacedTools() { SystemTools::replace(m_before); }

private:
    SystemTools m_before;
};

/// User defaults in memory.
class MapUserDefaults : public UserDefaults {
public:
    std::map<std::string, std::string> values;

    [[nodiscard]] std::optional<std::string> dataForKey(const std::string& key) const override {
        const auto entry = values.find(key);
        return entry == values.end() ? std::nullopt : std::optional(entry->second);
    }

    void setDataForKey(const std::string& key, const std::string& data) override {
        values[key] = data;
    }

    void removeObjectForKey(const std::string& key) override { values.erase(key); }
};

} // namespace peekmend::test
