// The stored snapshot on any bytes: what can be read can be written again and read back the same.

#include "Require.h"
#include "repair/RepairSnapshot.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace peekmend;
    const std::string document(reinterpret_cast<const char*>(data), size);
    if (const auto snapshot = decodeRepairSnapshot(document)) {
        const auto written = encodeRepairSnapshot(*snapshot);
        require(written.has_value());
        require(decodeRepairSnapshot(*written) == snapshot);
    }
    return 0;
}
