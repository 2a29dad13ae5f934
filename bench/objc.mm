// What Objective-C costs over C++, on a page of the development service.
#import <KorvelContentSDK/KCSDKCore.h>
#import <KorvelContentSDK/KorvelContentSDK.h>

#include <service/ContentService.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

namespace {

volatile NSUInteger sink;

/// The best of 500 turns, in nanoseconds for each of `parts`; each turn in a pool of its own, whose
/// end is counted, too, as that is where the objects go.
template <class Work> double best(NSUInteger parts, Work work) {
    auto least = std::chrono::nanoseconds::max();
    for (int turn = 0; turn < 500; ++turn) {
        const auto start = std::chrono::steady_clock::now();
        @autoreleasepool {
            work();
        }
        least = std::min<std::chrono::nanoseconds>(least, std::chrono::steady_clock::now() - start);
    }
    return static_cast<double>(least.count()) / static_cast<double>(parts);
}

void figure(const char* name, double value, double goal) {
    std::printf("%s %.2f %g %s\n", name, value, goal, value <= goal ? "ok" : "short");
}

NSUInteger allProperties(KCSDKOndemandClass* one) {
    NSUInteger sum = [one.tag length] + [one.className length] + [one.classDescription length];
    sum += [one.classCategories length] + [one.languageTag length] + [one.languageName length];
    sum += [one.providerID length] + [one.provider length] + [one.durationMinutes length];
    sum += [one.creationDate length] + [one.lastModifiedDate length] + [one.trailerName length];
    sum += [one.trailerLinkMobile length] + [one.imageLink length] + [one.streamingLink length];
    sum += [one.equipmentNames count] + static_cast<NSUInteger>([one.calorieBurn longLongValue]);
    sum += static_cast<NSUInteger>(one.intensity + one.skill + one.durationSecond);
    return sum + (one.equipmentTypes ? 1U : 0U) + (one.favourite ? 1U : 0U);
}

KCSDKOndemandClassResponse* fetchPage(korvel::service::ContentService& service,
                                      const std::filesystem::path& folder) {
    NSString* authority = [NSString stringWithUTF8String:service.caFile().c_str()];
    [KCSDKDevice installWithApplicationName:@"bench"
                                 dataFolder:[NSString stringWithUTF8String:folder.c_str()]
                       certificateAuthority:authority
                                      media:NO];
    NSString* url = [NSString stringWithUTF8String:service.baseURL().c_str()];
    [KCSDK initializeWithConfig:[[[KCSDKConfig alloc] initWithBaseURL:url
                                                            secretKey:@"not-a-secret"
                                                               apiKey:@"korvel-development"
                                                             tenantId:@"korvel"
                                                        localyticsKey:@""] autorelease]];
    __block KCSDKOndemandClassResponse* page = nil;
    NSConditionLock* came = [[[NSConditionLock alloc] initWithCondition:0] autorelease];
    [KCSDK getOndemandClassesWithPage:1
                             pageSize:66
                                 sort:nil
                                order:nil
                      completionBlock:^(KCSDKOndemandClassResponse* answer, NSError*) {
                        page = [answer retain];
                        [came lock];
                        [came unlockWithCondition:1];
                      }];
    [came lockWhenCondition:1];
    [came unlock];
    return [page autorelease];
}

}  // namespace

int main() {
    @autoreleasepool {
        const auto folder = std::filesystem::temp_directory_path() / "korvel-bench-objc";
        korvel::service::ContentService service;
        KCSDKOndemandClassResponse* page = fetchPage(service, folder);
        NSUInteger count = 0;
        @autoreleasepool {  // lets go of the records
            count = [page.items count];
        }
        if (count < 20) {
            std::fputs("no page to measure on\n", stderr);
            return 1;
        }
        figure("objc_list_record_ns", best(count, [&] { sink = [page.items count]; }), 250);
        NSArray* held = page.items;
        std::printf("a record of the same list, objects alive: %.0f ns\n",
                    best(count, [&] { sink = [page.items count]; }));
        figure("objc_class_properties_us",
               best(count,
                    [&] {
                        for (KCSDKOndemandClass* one in held) {
                            sink = allProperties(one);
                        }
                    }) /
                   1000,
               3);
        std::filesystem::remove_all(folder);
    }
    return 0;
}
