// Prints the diagnostic report of one file: how the core is tried by hand. Not installed.

#include "diagnosis/DiagnosisEngine.h"
#include "diagnosis/DiagnosticReportWriter.h"
#include "platform/ProcessSetup.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argumentCount, char** arguments) {
    peekmend::prepareProcess();
    if (argumentCount != 2 || *arguments[1] == '\0') {
        std::fputs("Usage: peekmend-report FILE\n", stderr);
        return 2;
    }
    const peekmend::DiagnosisEngine engine;
    const std::string text = peekmend::DiagnosticReportWriter::reportText(
                                 engine.diagnose(peekmend::FileURL(arguments[1]))) +
                             "\n";
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        std::perror("peekmend-report: couldn't write the report");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
