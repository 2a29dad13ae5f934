// The side of a host in Objective-C++.
#import <KorvelContentSDK/KCSDKCore.h>

#import "Host.h"

#import "RecordTable.h"

#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/model/KCSDKOndemandCkcToken.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/platform/uikit/UIWindow.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace korvel::tests;

std::string metaJSON() {
    return R"({"classTypes":[],"equipments":[],"language":[],"providers":[],)"
           R"("duration":{"min":0,"max":1},"intensity":{"min":0,"max":1}})";
}
std::string itemJSON() {
    return R"({"equipmentTypes":"","classTag":"","virtualClass":)" + classJSON("c") + "}";
}

template <class Record> id made(const std::string& json) {
    return KCSDKObjectOf(decoded<Record>(json));
}

}  // namespace

KCSDKObject* recordOfClass(const char* className) {
    const std::string name = className;
    if (name == "KCSDKOndemandClass") return made<korvel::KCSDKOndemandClass>(classJSON("c"));
    if (name == "KCSDKOndemandClassResponse") {
        return made<korvel::KCSDKOndemandClassResponse>(pageJSON(""));
    }
    if (name == "KCSDKOndemandCollection") {
        return made<korvel::KCSDKOndemandCollection>(
            R"({"collectionType":"","collectionName":"","collectionTag":"","creationDate":"",)"
            R"("itemCount":0})");
    }
    if (name == "KCSDKOndemandMetaData") return made<korvel::KCSDKOndemandMetaData>(metaJSON());
    if (name == "KCSDKSearchItem") return made<korvel::KCSDKSearchItem>(itemJSON());
    if (name == "KCSDKOndemandSearchResult") {
        return made<korvel::KCSDKOndemandSearchResult>(
            R"({"total":0,"itemsRemaining":0,"items":[]})");
    }
    if (name == "LinkDetail") return made<korvel::LinkDetail>(R"({"linkText":"","linkUrl":""})");
    if (name == "KCSDKConsent") return made<korvel::KCSDKConsent>(consentJSON("c"));
    if (name == "KCSDKOndemandContentToken") {
        return made<korvel::KCSDKOndemandContentToken>(R"({"token":""})");
    }
    if (name == "KCSDKOndemandCkcToken") {
        return made<korvel::KCSDKOndemandCkcToken>(R"({"key":""})");
    }
    if (name == "KCSDKConfig") return makeConfig(@"");
    if (name == "KCSDKUserSubscriptionRequest") {
        return [[[KCSDKUserSubscriptionRequest alloc] initWithStartDate:[NSDate date]
                                                         subscriptionId:@""] autorelease];
    }
    if (name == "KCSDKPlayerViewModel") {
        return [[[KCSDKPlayerViewModel alloc]
            initWithContent:(KCSDKOndemandClass*)recordOfClass("KCSDKOndemandClass")] autorelease];
    }
    return
        [[[NSClassFromString([NSString stringWithUTF8String:className]) alloc] init] autorelease];
}

/// From C++ to Objective-C and back, and an object that goes when its host lets go.
void coreObjects(const Service*) {
    const auto user = std::make_shared<korvel::KCSDKUser>();
    {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        KCSDKUser* wrapped = KCSDKObjectOf(user);
        CHECK([wrapped isKindOfClass:[KCSDKUser class]] && KCSDKObjectOf(user) == wrapped);
        wrapped.userId = @"42";
        CHECK(KCSDKCore<korvel::KCSDKUser>(wrapped) == user);
        CHECK(!KCSDKCore<korvel::KCSDKConsent>(wrapped));
        [pool release];
    }
    CHECK(user->userId == "42" && user.use_count() == 1);
    user->username = "\xff\xfe";  // no UTF-8, and no reason to lose it
    CHECK([((KCSDKUser*)KCSDKObjectOf(user)).username length] == 2);
    CHECK(!KCSDKObjectOf(nullptr) && !KCSDKCore<korvel::KCSDKUser>(nil));
    const auto window = korvel::platform::make<korvel::platform::UIWindow>(
        korvel::platform::Device::current().screen);
    CHECK([KCSDKObjectOf(window) class] == [UIView class]);
}

void sameRecordsOnManyThreads(const Service*) {
    std::vector<std::shared_ptr<korvel::KCSDKUser>> users;
    for (int i = 0; i < 4; ++i) users.push_back(std::make_shared<korvel::KCSDKUser>());
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            GSRegisterCurrentThread();
            for (std::size_t i = 0; i < 50000; ++i) {
                NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
                const auto& user = users[(i + thread) % users.size()];
                KCSDKObject* first = KCSDKObjectOf(user);
                KCSDKObject* second = KCSDKObjectOf(user);
                if (first != second || KCSDKCoreObject(first) != user) ++wrong;
                [pool release];
            }
            GSUnregisterCurrentThread();
        });
    }
    for (auto& thread : threads) thread.join();
    CHECK(wrong == 0);
    for (const auto& user : users) CHECK(user.use_count() == 1);
}
