// The registry file of our own `pluginkit` with any bytes: it reads as sound decisions or is
// refused by name and left as it is, and a change adds to what was read and loses nothing.

#include "Require.h"
#include "platform/linux/ExtensionRegistry.h"
#include "platform/linux/PreviewExtensions.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace {

/// A data folder that lasts as long as the process, in memory where the system has that: each run
/// waits for its file to be on disk.
class DataFolder {
public:
    DataFolder() {
        namespace fs = std::filesystem;
        const fs::path memory = "/dev/shm";
        const fs::path parent = fs::is_directory(memory) ? memory : fs::temp_directory_path();
        m_folder = (parent / "fuzz-registry-XXXXXX").string();
        require(::mkdtemp(m_folder.data()) != nullptr);
        require(::setenv("XDG_DATA_HOME", m_folder.c_str(), 1) == 0);
        require(fs::create_directory(m_folder + "/peekmend"));
    }

    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

    ~DataFolder() { std::filesystem::remove_all(m_folder); }

    [[nodiscard]] std::string registryFile() const { return m_folder + "/peekmend/registry.json"; }

private:
    std::string m_folder;
};

std::string bytesOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace peekmend;
    static const DataFolder folder;
    const std::string file = folder.registryFile();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    require((std::ofstream(file, std::ios::binary) << bytes).flush().good());

    const auto addElection = [&](ExtensionRegistry& registry) -> std::expected<void, Error> {
        registry.elections["org.example.added"] = size % 2 == 0 ? Election::use : Election::ignore;
        return {};
    };
    const auto before = readExtensionRegistry();
    const auto changed = changeExtensionRegistry(addElection);
    if (!before) {
        require(before.error().message.contains(file));
        require(!changed && changed.error().message.contains(file));
        require(bytesOf(file) == bytes);
        return 0;
    }
    // A damaged file must not pass for an empty one.
    constexpr std::string_view blanks = " \t\n\r\xEF\xBB\xBF";
    require(bytes.contains('{') && bytes.find_first_not_of(blanks) == bytes.find('{'));
    require(bytes.find_last_not_of(blanks) == bytes.rfind('}'));
    require(std::ranges::all_of(before->addedPaths, [](const std::string& path) {
        return path.starts_with('/') && isListableText(path);
    }));
    if (changed) {
        ExtensionRegistry after = *before;
        require(addElection(after).has_value());
        require(readExtensionRegistry() == after);
    } else {
        // A large file without line breaks is larger when it is written anew.
        require(changed.error().message.contains("full"));
        require(bytesOf(file) == bytes);
    }
    return 0;
}
