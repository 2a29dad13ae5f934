#import "Host.h"

#include "support/TemporaryFolder.h"

#include <service/ContentService.h>

#include <gtest/gtest.h>

inline NSString* text(const std::string& from) {
    return [NSString stringWithUTF8String:from.c_str()];
}

inline KCSDKConfig* makeConfig(NSString* url) {
    return [[[KCSDKConfig alloc] initWithBaseURL:url
                                       secretKey:@"not-a-secret"
                                          apiKey:@"korvel-development"
                                        tenantId:@"korvel"
                                   localyticsKey:@"analytics"] autorelease];
}

/// What `call` brings to the answer that it is given: a record, or nothing, and no error.
template <class Call> id recordOf(Call call) {
    Answer* answer = [Answer answer];
    call(answer);
    CHECK([answer wait] && !answer->error && !answer->onMain);
    return [[answer->record retain] autorelease];
}
inline KCSDKOndemandClass* classDetails(NSString* tag) {
    return recordOf([=](Answer* answer) {
        [KCSDK getOndemandClassDetailsFor:tag completionBlock:[answer block]];
    });
}
inline KCSDKOndemandClassResponse* classesPage() {
    return recordOf([](Answer* answer) {
        [KCSDK getOndemandClassesWithPage:1
                                 pageSize:20
                                     sort:nil
                                    order:nil
                          completionBlock:[answer block]];
    });
}

/// A host in Objective-C against a service of its own; each in a process of its own, linked as
/// hosts are.
class ObjC : public testing::Test {
protected:
    ObjC() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~ObjC() override { [pool release]; }

    void install(BOOL media = NO) {
        CHECK([KCSDKDevice installWithApplicationName:@"objc-tests"
                                           dataFolder:text(folder / "data")
                                 certificateAuthority:text(service.caFile())
                                                media:media]);
    }
    void setUp(BOOL media = NO) {
        install(media);
        [KCSDK initializeWithConfig:makeConfig(text(service.baseURL()))];
    }
    void logIn() {
        recordOf([](Answer* answer) {
            [KCSDK startSessionWithUserName:@"anna" completionBlock:[answer errorBlock]];
        });
    }

    korvel::service::ContentService service;
    korvel::tests::TemporaryFolder folder;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
};
