#include "support/Support.h"

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace peekmend {

void PrintTo(const Error& error, std::ostream* stream) {
    *stream << error.domain << ' ' << error.code << ": " << error.message;
}

} // namespace peekmend

namespace peekmend::test {

namespace {

std::size_t entriesIn(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                  std::filesystem::directory_iterator()));
}

/// A sanitizer starts a thread of its own together with the first one of the program.
const std::size_t threadsAtStart = [] {
    std::thread([] {}).join();
    return entriesIn("/proc/self/task");
}();

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "peekmend-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    m_path = path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view contents) const {
    const std::filesystem::path file = *this / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << contents;
    return file.string();
}

std::string TemporaryFolder::writeScript(std::string_view name, std::string_view commands) const {
    const std::string file = write(name, "#!/bin/sh\n" + std::string(commands));
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
}

std::string contentTypesPlist(std::initializer_list<std::string_view> types) {
    std::string strings;
    for (const std::string_view type : types) {
        strings += "<string>" + std::string(type) + "</string>";
    }
    return "<plist><dict><key>NSExtension</key><dict><key>NSExtensionAttributes</key><dict>"
           "<key>QLSupportedContentTypes</key><array>" +
           strings + "</array></dict></dict></dict></plist>";
}

std::string readFile(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

bool eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

Resources Resources::inUse() {
    Resources resources;
    resources.descriptors = entriesIn("/proc/self/fd");
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        ++resources.threads;
        std::istringstream children(readFile(thread.path() / "children"));
        resources.children += static_cast<std::size_t>(
            std::distance(std::istream_iterator<std::string>(children), {}));
    }
    return resources;
}

Resources Resources::atRest() {
    EXPECT_TRUE(eventually([] { return inUse().threads == threadsAtStart; }));
    return inUse();
}

} // namespace peekmend::test
