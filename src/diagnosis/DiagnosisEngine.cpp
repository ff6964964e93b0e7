#include "diagnosis/DiagnosisEngine.h"

#include "diagnosis/TypeTree.h"
#include "platform/Hash.h"
#include "platform/Text.h"

#include <algorithm>
#include <future>
#include <unordered_set>
#include <utility>

namespace peekmend {

namespace {

/// The order in which claimants are listed.
int stateRank(QLRegistrationState state) {
    switch (state) {
    case QLRegistrationState::enabled:
        return 0;
    case QLRegistrationState::unmarked:
        return 1;
    case QLRegistrationState::ignored:
        return 2;
    }
    std::unreachable();
}

std::string joinedBundleIDs(const std::vector<const QLClaimant*>& claimants) {
    std::vector<std::string_view> bundleIDs;
    bundleIDs.reserve(claimants.size());
    for (const QLClaimant* const claimant : claimants) {
        bundleIDs.push_back(claimant->record.bundleID);
    }
    return joined(bundleIDs, ", ");
}

template <typename Predicate>
std::vector<const QLClaimant*> claimantsWhere(const std::vector<QLClaimant>& claimants,
                                              Predicate predicate) {
    std::vector<const QLClaimant*> found;
    for (const QLClaimant& claimant : claimants) {
        if (predicate(claimant.record)) {
            found.push_back(&claimant);
        }
    }
    return found;
}

} // namespace

const PlugInKitExecuting& DiagnosisEngine::systemInventory() {
    // Never destroyed: a diagnosis may still run when the program ends.
    static const auto& executor = *new RealPlugInKitExecutor;
    return executor;
}

QLDiagnosisReport DiagnosisEngine::diagnose(const std::optional<FileURL>& fileURL,
                                            const std::stop_token& stop) const {
    QLDiagnosisReport report;
    report.fileURL = fileURL;
    // It needs nothing of what the tool lists and takes about as long. Without a thread for it, it
    // runs when it is asked for.
    std::future<std::vector<std::string>> typeTree;
    if (fileURL) {
        typeTree = std::async([&] { return resolveTypeTree(*fileURL, *m_types); });
    }
    if (auto listing = m_inventory->listPreviewExtensions()) {
        report.rawPluginkit = *std::move(listing);
        report.records = parseListing(report.rawPluginkit);
    } else {
        report.fetchError = std::move(listing.error().message);
    }
    const ContentTypeMap contentTypes = contentTypesByBundleID(report.records);
    if (fileURL) {
        report.typeTree = typeTree.get();
        report.claimants = findClaimants(report.records, report.typeTree, contentTypes);
        report.activeHandler = ActiveHandlerProbe::probe(*fileURL, report.records, stop);
    }
    report.verdict =
        composeVerdict(report.claimants, report.activeHandler ? report.activeHandler->bundleIDs
                                                              : std::vector<std::string>());
    return report;
}

std::vector<QLClaimant> findClaimants(const std::vector<QLExtensionRecord>& records,
                                      const std::vector<std::string>& typeTree,
                                      const ContentTypeMap& contentTypes) {
    std::vector<QLClaimant> claimants;
    for (const QLExtensionRecord& record : records) {
        const auto entry = contentTypes.find(record.bundleID);
        if (entry == contentTypes.end()) {
            continue;
        }
        const std::vector<std::string>& claimed = entry->second;
        const std::unordered_set<std::string_view> claimedSet(claimed.begin(), claimed.end());
        const auto matched = std::ranges::find_if(
            typeTree, [&](const std::string& type) { return claimedSet.contains(type); });
        if (matched != typeTree.end()) {
            claimants.push_back(
                {.record = record, .matchedUTIs = {*matched}, .allClaimedUTIs = claimed});
        }
    }
    std::ranges::stable_sort(
        claimants, {}, [](const QLClaimant& claimant) { return stateRank(claimant.record.state); });
    return claimants;
}

std::string composeVerdict(const std::vector<QLClaimant>& claimants,
                           const std::vector<std::string>& activeBundleIDs) {
    if (claimants.empty()) {
        return "No registered Quick Look extension claims this file's type; macOS is likely using "
               "its built-in system fallback preview.";
    }
    const auto active = claimantsWhere(claimants, [](const QLExtensionRecord& record) {
        return record.state != QLRegistrationState::ignored;
    });
    const auto stale = claimantsWhere(claimants, [](const QLExtensionRecord& record) {
        return record.path && isStaleLocation(*record.path);
    });
    std::vector<std::string> sentences;

    const auto serving = std::ranges::find_if(activeBundleIDs, [&](const std::string& bundleID) {
        return std::ranges::any_of(claimants, [&](const QLClaimant& claimant) {
            return claimant.record.bundleID == bundleID;
        });
    });
    if (serving != activeBundleIDs.end()) {
        sentences.push_back(*serving + " is currently serving the open preview.");
    }

    if (active.size() == 1) {
        const std::string& bundleID = active.front()->record.bundleID;
        if (std::ranges::find(activeBundleIDs, bundleID) == activeBundleIDs.end()) {
            sentences.push_back(
                bundleID +
                " is the only active claimant and is likely handling previews for this file.");
        }
    } else if (!active.empty()) {
        sentences.push_back("Multiple extensions can preview this file (" +
                            joinedBundleIDs(active) +
                            "); this is a conflict. Use Prefer to pick one and ignore the rest.");
    } else {
        sentences.push_back("All " + std::to_string(claimants.size()) +
                            " claimant(s) for this file type are ignored; macOS is likely using "
                            "its built-in system fallback preview.");
    }

    if (!stale.empty()) {
        sentences.push_back(joinedBundleIDs(stale) +
                            " appear to be registered from a stale (non-/Applications) location; "
                            "reinstalling to /Applications may fix registration issues.");
    }
    return joined(sentences, " ");
}

std::optional<std::string_view> extensionNote(std::string_view bundleID) {
    static constexpr std::string_view highlandNote =
        "Highland's Quick Look plugin also previews Fountain screenplay files (and Textbundle); "
        "ignoring it disables previews for those file types too, not just this one.";
    static constexpr std::string_view novaNote =
        "Nova's Quick Look plugin provides syntax-highlighted previews for every source code and "
        "config file type Nova supports; ignoring it disables those previews too, not just this "
        "one.";
    static constexpr std::pair<std::string_view, std::string_view> caveats[] = {
        {"com.quoteunquoteapps.highland.pro.qlplugin", highlandNote},
        {"com.quoteunquoteapps.highland2.qlplugin", highlandNote},
        {"com.panic.Nova.NovaQuickLookPreview", novaNote},
        {"com.panic.Nova.QuickLookPreviewExtension", novaNote},
    };
    for (const auto& [knownID, note] : caveats) {
        if (knownID == bundleID) {
            return note;
        }
    }
    return std::nullopt;
}

bool isStaleLocation(std::string_view path) {
    return path.contains("/DerivedData/") || !path.starts_with("/Applications/");
}

} // namespace peekmend

std::size_t
std::hash<peekmend::QLClaimant>::operator()(const peekmend::QLClaimant& claimant) const noexcept {
    std::size_t combined = 0;
    peekmend::combineHash(combined, claimant.record);
    for (const auto* const list : {&claimant.matchedUTIs, &claimant.allClaimedUTIs}) {
        peekmend::combineHash(combined, list->size());
        for (const std::string& type : *list) {
            peekmend::combineHash(combined, type);
        }
    }
    return combined;
}
