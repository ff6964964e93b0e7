// A program that does nothing until it is killed: a preview, or one of the many others that run.

#include <unistd.h>

int main() {
    while (true) {
        ::pause();
    }
}
