#pragma once

// What the hosts in Objective-C do; each is called by a test in a process of its own.
#ifdef __cplusplus
extern "C" {
#endif

struct Service {
    const char* url;
    const char* authority;
    const char* folder;
};

/// A host's check that failed: a failure of the test that called it.
void hostFailed(const char* file, int line, const char* what);

/// Calls a scenario, and lets go of what it left.
void runHost(void (*scenario)(const struct Service*), const struct Service* service);

void beforeInitialize(const struct Service* service);
void unusableBaseURL(const struct Service* service);
void everyOperation(const struct Service* service);
void refusedTwice(const struct Service* service);
void recordIdentity(const struct Service* service);
void recordValues(const struct Service* service);
void everyProperty(const struct Service* service);
void observedProperties(const struct Service* service);
void unusableValues(const struct Service* service);
void coreObjects(const struct Service* service);
void sameRecordsOnManyThreads(const struct Service* service);
void look(const struct Service* service);
void consentSubscriptionAndPlay(const struct Service* service);
void ownOverlay(const struct Service* service);
void fullScreenWithoutWindow(const struct Service* service);
void silentListener(const struct Service* service);
void mainQueueThreads(const struct Service* service);
void manyRequests(const struct Service* service);

// These end the process.
void callInit(const char* className);
void throwInCompletion(const struct Service* service);
void throwInListener(const struct Service* service);

#ifdef __cplusplus
}
#endif
