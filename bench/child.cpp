// A program that does nothing until it is killed: a preview, or one of the many others that run.

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

int main() {
    // When the benchmark is interrupted, nobody else would end it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) {
        ::pause();
    }
}
