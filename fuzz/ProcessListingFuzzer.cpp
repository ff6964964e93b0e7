// The process listing on any bytes: command lines begin with "/", each stands once, and mapping
// them to records invents none.

#include "Require.h"
#include "diagnosis/ActiveHandlerProbe.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace peekmend;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> paths = ActiveHandlerProbe::parseExtensionPaths(text);
    for (const std::string& path : paths) {
        require(path.starts_with('/') && !path.contains('\n') && text.contains(path));
    }
    require(std::set<std::string>(paths.begin(), paths.end()).size() == paths.size());
    std::vector<QLExtensionRecord> records{{"pathless", QLRegistrationState::enabled, {}, {}}};
    for (const std::string& path : paths) {
        records.push_back({path, QLRegistrationState::enabled, {}, path});
    }
    require(ActiveHandlerProbe::bundleIDsForPaths(paths, records) == paths);
    return 0;
}
