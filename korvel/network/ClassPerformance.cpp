#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/ServiceTimestamp.h>
#include <korvel/network/ClassPerformance.h>

#include <charconv>

namespace korvel {

namespace {
/// Seconds from now back to a moment just before, as the shortest text that reads back the same.
/// Two readings of the clock are often equal, and a record's identifier is unique only through this
/// text, so the clock is read until it moves (one that stands still is given up on).
std::string intervalSinceNow(const platform::Clock& clock) {
    const auto before = clock.now();
    auto now = clock.now();
    for (int attempt = 0; now == before && attempt < 100'000; ++attempt) now = clock.now();
    const auto nanoseconds = now == before ? 1 : (now - before).count();
    char buffer[32];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, -static_cast<double>(nanoseconds) / 1e9,
                      std::chars_format::scientific);
    return {buffer, end.ptr};
}
}  // namespace

KCSDKOndemandResultRequest classPerformance(const KCSDKOndemandClass& ondemandClass,
                                            std::int64_t performedSeconds,
                                            const std::string& userId, const platform::Clock& clock,
                                            const platform::Locale& locale) {
    KCSDKOndemandResultRequest record;
    record.performDate = serviceTimestamp(clock.date(), locale);
    record.providerName = ondemandClass.provider.value_or("");
    record.playedDurationSecond = ondemandClass.durationSecond;
    record.contentID = ondemandClass.tag;
    record.actualDurationSecond = performedSeconds;
    record.contentName = ondemandClass.className;
    record.userId = userId;
    record.ID = userId + "-" + ondemandClass.tag + "-" + intervalSinceNow(clock);
    return record;
}

}  // namespace korvel
