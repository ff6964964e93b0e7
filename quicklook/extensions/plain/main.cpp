#include "preview/Preview.h"

int main(int argc, char** argv) {
    return peekmend::runPreview(argc, argv, peekmend::factsContent);
}
