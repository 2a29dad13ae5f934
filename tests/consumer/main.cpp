// A host outside this tree: it compiles against the installed headers and links the installed
// library.
#include <korvel/KorvelContentSDK.h>
#include <korvel/doubles/FakeDevice.h>

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
    korvel::doubles::FakeDevice fake;
    korvel::ContentClient client(
        fake.device(), std::make_shared<korvel::KCSDKConfig>("https://h/", "s", "k", "t", "a"));
    client.classes().then(fake.mainQueue, [&](const auto& page) { called = page.hasValue(); });
    if (!fake.session->waitForRequests(1)) return EXIT_FAILURE;
    fake.session->answer(200, R"({"totalItems":0,"itemsRemaining":0,"items":[]})");
    fake.clock->settle(*fake.mainQueue);
    if (!called) return EXIT_FAILURE;
    std::puts("consumer: linked and ran");
}
