#pragma once

#include "Bundles.h"
#include "Fixture.h"

#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

namespace peekmend::bench {

/// Stands in for the machine of a user: a home with applications that hold preview extensions, a
/// file, and other processes. The tools of the whole program are our `pluginkit`, the system's `ps`
/// and a preview that shows nothing. One at a time.
class Machine {
public:
    Machine(std::size_t extensionCount, std::size_t processCount);
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    [[nodiscard]] const Bundles& bundles() const { return m_bundles; }

    /// A file of a type that only the last application knows; so all have to be asked.
    [[nodiscard]] const std::string& file() const { return m_file; }

private:
    TemporaryFolder m_folder;
    Bundles m_bundles;
    std::string m_file;
    std::vector<pid_t> m_processes;
};

} // namespace peekmend::bench
