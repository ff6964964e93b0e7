#include "Machine.h"

#include "platform/SystemTools.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

namespace peekmend::bench {

namespace {

pid_t startOther(std::string name) {
    char service[] = "--service=org.example.preview";
    char* arguments[] = {name.data(), service, nullptr};
    pid_t pid = -1;
    if (::posix_spawn(&pid, PEEKMEND_BENCH_CHILD, nullptr, nullptr, arguments, environ) != 0) {
        fail("cannot start another process");
    }
    return pid;
}

} // namespace

Machine::Machine(std::size_t extensionCount, std::size_t processCount)
    : m_bundles(writeBundles(m_folder.path() + "/Applications", extensionCount, Form::xml)),
      m_file(m_folder.path() + "/document." + bundleFileExtension) {
    ::setenv("HOME", m_folder.path().c_str(), 1);
    ::setenv("XDG_DATA_HOME", m_folder.path().c_str(), 1);
    std::ofstream(m_file) << "text";
    SystemTools::replace({.pluginkit = PEEKMEND_PLUGINKIT,
                          .qlmanage = PEEKMEND_BENCH_CHILD,
                          .killall = "/bin/false",
                          .ps = "/bin/ps"});
    for (std::size_t index = 0; index < processCount; ++index) {
        const std::string& bundle = *m_bundles.records[index % extensionCount].path;
        m_processes.push_back(startOther(bundle + "/Contents/MacOS/Preview"));
    }
}

Machine::~Machine() {
    for (const pid_t pid : m_processes) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
}

} // namespace peekmend::bench
