#include "repair/RepairSnapshot.h"

#include "platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <ranges>
#include <utility>

namespace peekmend {

double secondsSinceReferenceDate(std::chrono::system_clock::time_point time) {
    constexpr std::chrono::sys_days referenceDate{std::chrono::January / 1 / 2001};
    return std::chrono::duration<double>(time - referenceDate).count();
}

std::optional<std::string> encodeRepairSnapshot(const QLRepairSnapshot& snapshot) {
    // The encoder would write a time that is not finite as null, which no reader accepts.
    if (!std::isfinite(snapshot.createdAt) ||
        !std::ranges::all_of(snapshot.states | std::views::keys, isValidUtf8)) {
        return std::nullopt;
    }
    nlohmann::json states = nlohmann::json::object();
    for (const auto& [bundleID, state] : snapshot.states) {
        states[bundleID] = textValue(state);
    }
    return nlohmann::json{{"createdAt", snapshot.createdAt}, {"states", std::move(states)}}.dump();
}

std::optional<QLRepairSnapshot> decodeRepairSnapshot(const std::string& document) {
    const nlohmann::json json =
        nlohmann::json::parse(document, nullptr, /*allow_exceptions=*/false);
    // The parser takes a NUL for the end, and would not see what comes after it.
    if (!json.is_object() || document.contains('\0')) {
        return std::nullopt;
    }
    const auto createdAt = json.find("createdAt");
    const auto states = json.find("states");
    if (createdAt == json.end() || !createdAt->is_number() || states == json.end() ||
        !states->is_object()) {
        return std::nullopt;
    }
    QLRepairSnapshot snapshot{createdAt->get<double>(), {}};
    for (const auto& [bundleID, value] : states->items()) {
        const auto* const text = value.get_ptr<const std::string*>();
        const auto state = text != nullptr ? registrationState(*text) : std::nullopt;
        if (!state) {
            return std::nullopt;
        }
        snapshot.states.emplace(bundleID, *state);
    }
    return snapshot;
}

std::optional<QLRepairSnapshot> loadLastRepairSnapshot(const UserDefaults& defaults) {
    const auto document = defaults.dataForKey(lastRepairSnapshotKey);
    return document ? decodeRepairSnapshot(*document) : std::nullopt;
}

void storeRepairSnapshot(const QLRepairSnapshot& snapshot, UserDefaults& defaults) {
    if (const auto document = encodeRepairSnapshot(snapshot)) {
        defaults.setDataForKey(lastRepairSnapshotKey, *document);
    }
}

void clearRepairSnapshot(UserDefaults& defaults) {
    defaults.removeObjectForKey(lastRepairSnapshotKey);
}

} // namespace peekmend
