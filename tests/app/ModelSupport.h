#pragma once

#include "app/model/Services.h"
#include "support/Support.h"

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace peekmend::test {

/// An interface thread whose turns and clock the test moves.
class ManualMainQueue final : public MainQueue {
public:
    void post(Block block) override { m_posted.push_back(std::move(block)); }

    void postAfter(std::chrono::milliseconds delay, Block block) override {
        m_delayed.emplace(m_now + delay, std::move(block));
    }

    void runAll() {
        while (!m_posted.empty()) {
            const Block block = std::move(m_posted.front());
            m_posted.pop_front();
            block();
        }
    }

    void advance(std::chrono::milliseconds time) {
        m_now += time;
        while (!m_delayed.empty() && m_delayed.begin()->first <= m_now) {
            const auto due = m_delayed.extract(m_delayed.begin());
            due.mapped()();
        }
    }

private:
    std::deque<Block> m_posted;
    std::multimap<std::chrono::milliseconds, Block> m_delayed;
    std::chrono::milliseconds m_now{0};
};

/// All that view-models have around them. Background jobs wait until the test runs them.
class World {
public:
    Services services() { return m_services; }

    /// Runs one of the waiting jobs, and then what it left to the interface thread.
    void run(std::size_t index) {
        ASSERT_LT(index, jobs.size());
        auto job = std::move(jobs[index]);
        jobs.erase(jobs.begin() + static_cast<std::ptrdiff_t>(index));
        job();
        queue->runAll();
    }

    /// Runs everything but delayed blocks.
    void settle() {
        queue->runAll();
        while (!jobs.empty()) {
            run(0);
        }
    }

    std::shared_ptr<ManualMainQueue> queue = std::make_shared<ManualMainQueue>();
    std::vector<BackgroundPool::Job> jobs;
    bool refusesJobs = false;

    /// What a diagnosis finds that runs now.
    QLDiagnosisReport report;
    /// The paths of the diagnosed files; empty for the inventory alone.
    std::vector<std::string> diagnosed;
    std::stop_token lastStop;

    /// The changes made to the system, as "use com.example", and "restart".
    std::vector<std::string> commands;
    /// Those of them that fail, with the message "no\n".
    std::set<std::string> failing;
    std::shared_ptr<MapUserDefaults> defaults = std::make_shared<MapUserDefaults>();

    std::vector<std::string> copied;
    /// The addresses and applications that were tried, and the one of them that works.
    std::vector<std::string> opened;
    std::string openable;
    std::vector<std::string> toldWithoutWindow;

private:
    std::expected<void, Error> startInBackground(BackgroundPool::Job job) {
        if (refusesJobs) {
            return std::unexpected(Error{"posix", 11, "no thread"});
        }
        jobs.push_back(std::move(job));
        return {};
    }

    std::expected<std::string, Error> runTool(const std::string& path,
                                              const std::vector<std::string>& arguments) {
        if (path == "pluginkit") {
            commands.push_back(arguments.at(1) + " " + arguments.at(3));
        } else if (path == "killall") {
            commands.emplace_back("restart");
        }
        if (failing.contains(commands.back())) {
            return std::unexpected(Error{std::string(repairToolErrorDomain), 1, "no\n"});
        }
        return "";
    }

    QLDiagnosisReport diagnose(const std::optional<FileURL>& fileURL, const std::stop_token& stop) {
        diagnosed.push_back(fileURL ? fileURL->path() : "");
        lastStop = stop;
        return report;
    }

    bool open(const std::string& target) {
        opened.push_back(target);
        return target == openable;
    }

    ReplacedTools m_tools{{"pluginkit", "qlmanage", "killall", ""}};
    StartInBackground m_start = [this](auto job) { return startInBackground(std::move(job)); };
    Services m_services{
        .mainQueue = queue,
        .diagnoses = std::make_shared<DiagnosisRunner>(
            queue, m_start,
            [this](const auto& fileURL, const auto& stop) { return diagnose(fileURL, stop); }),
        .repairs = std::make_shared<RepairQueue>(queue, m_start),
        .applicator = RepairApplicator(
            [this](const auto& path, const auto& arguments) { return runTool(path, arguments); }),
        .defaults = defaults,
        .copyText = [this](const auto& text) { copied.push_back(text); },
        .openURL = [this](const auto& address) { return open(address); },
        .launchApplication = [this](const auto& name) { return open(name); },
        .tellWithoutWindow = [this](const auto& message) { toldWithoutWindow.push_back(message); },
    };
};

/// A view, which knows of its state what the last change has told it to draw.
template <typename ViewModel>
struct View {
    explicit View(World& world)
        : model(std::make_shared<ViewModel>(world.services())), drawn(model->state()) {
        model->onChange = [this] { drawn = model->state(); };
    }

    View(const View&) = delete;
    View& operator=(const View&) = delete;

    ~View() { close(); }

    void close() {
        if (model) {
            model->detach();
            model.reset();
        }
    }

    std::shared_ptr<ViewModel> model;
    std::remove_cvref_t<decltype(std::declval<ViewModel>().state())> drawn;
};

using States = std::map<std::string, QLRegistrationState>;
using Strings = std::vector<std::string>;

/// The states that the snapshot would restore; none without a snapshot.
inline States states(const std::optional<QLRepairSnapshot>& snapshot) {
    return snapshot ? snapshot->states : States();
}

/// A report whose records all claim the file.
inline QLDiagnosisReport claimedBy(const std::vector<QLExtensionRecord>& records) {
    QLDiagnosisReport report;
    report.records = records;
    for (const QLExtensionRecord& record : records) {
        report.claimants.push_back({record, {}, {}});
    }
    return report;
}

} // namespace peekmend::test
