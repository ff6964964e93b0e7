#pragma once

#include "inventory/PlugInKitInventory.h"
#include "platform/UserDefaults.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace peekmend {

/// The states that the extensions touched by a repair had before it.
struct QLRepairSnapshot {
    /// When the snapshot was taken: seconds since 2001-01-01 00:00:00 UTC.
    double createdAt = 0;
    std::map<std::string, QLRegistrationState> states;

    bool operator==(const QLRepairSnapshot&) const = default;
};

/// The key under which the snapshot of the last repair is stored, as data: one JSON document.
inline constexpr const char* lastRepairSnapshotKey = "org.peekmend.Peekmend.lastRepairSnapshot";

/// `time` in the seconds that `createdAt` counts.
[[nodiscard]] double secondsSinceReferenceDate(std::chrono::system_clock::time_point time);

/// The snapshot as a JSON document; none when it cannot be written as one (a time that is not
/// finite, an identifier that is not UTF-8).
[[nodiscard]] std::optional<std::string> encodeRepairSnapshot(const QLRepairSnapshot& snapshot);

/// The snapshot in a JSON document; none when anything about it is not as it should be.
[[nodiscard]] std::optional<QLRepairSnapshot> decodeRepairSnapshot(const std::string& document);

/// The stored snapshot; none when there is none or it is unreadable, and then the stored value is
/// left as it is.
[[nodiscard]] std::optional<QLRepairSnapshot> loadLastRepairSnapshot(const UserDefaults& defaults);

/// Stores the snapshot in place of an earlier one. One that cannot be encoded is dropped silently.
void storeRepairSnapshot(const QLRepairSnapshot& snapshot, UserDefaults& defaults);

/// Removes the stored snapshot, if there is one.
void clearRepairSnapshot(UserDefaults& defaults);

} // namespace peekmend
