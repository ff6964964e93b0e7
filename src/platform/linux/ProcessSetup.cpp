#include "platform/ProcessSetup.h"

#include <langinfo.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace peekmend {

void prepareProcess() {
    std::signal(SIGCHLD, SIG_DFL);

    std::setlocale(LC_CTYPE, "");
    if (std::string_view(::nl_langinfo(CODESET)) == "UTF-8") {
        return;
    }
    // LC_ALL goes before LC_CTYPE, so where it is set, it is what must change.
    const char* const all = std::getenv("LC_ALL");
    ::setenv(all != nullptr && *all != '\0' ? "LC_ALL" : "LC_CTYPE", "C.UTF-8", 1);
    std::setlocale(LC_CTYPE, "");
}

} // namespace peekmend
