// A host outside this tree: it compiles against the installed headers and links the installed
// library.
#include <korvel/KorvelContentSDK.h>

#include <cstdio>
#include <cstdlib>

int main() {
    bool called = false;
    korvel::KCSDK::getOndemandMetaData([&](auto, auto) { called = true; });
    if (called || korvel::KCSDK::shared().networkManager()) {
        std::fputs("consumer: an operation before initialize had an effect\n", stderr);
        return EXIT_FAILURE;
    }
    const auto filter = std::make_shared<korvel::KCSDKOndemandFilterRequest>();
    filter->keywords = "yoga";
    if (filter->take != 100) return EXIT_FAILURE;
    std::puts("consumer: linked and ran");
}
