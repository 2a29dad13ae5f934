#pragma once

#include <korvel/platform/backends/curl/CurlLibrary.h>

#include <curl/curl.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace korvel::platform {

/// The connections of streams that have ended, and those that were opened ahead, for streams to
/// come: one handle has them, and is used by one stream at a time. Any thread.
class StreamConnections final : public CurlUser,
                                public std::enable_shared_from_this<StreamConnections> {
public:
    struct CleanUp {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    struct MultiCleanUp {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };
    using Easy = std::unique_ptr<CURL, CleanUp>;
    struct Multi {
        std::unique_ptr<CURLM, MultiCleanUp> handle;
        std::set<std::string> services{};  ///< that it may have connections to
        std::uint64_t ahead = 0;           ///< no stream has used it yet; a number, for its end

        void serve(std::string service) { services.insert(std::move(service)); }
    };

    explicit StreamConnections(CurlSettings common);
    ~StreamConnections() override;

    /// What servers set with a playlist they want to see with its segments.
    CURLSH* cookies() const { return cookies_.get(); }
    static Multi make();
    /// One with a connection to `service` if there is any; waits for one that is expected.
    Multi take(const std::string& service, const std::atomic<bool>& cancelled);
    /// Whoever waits looks at its `cancelled`.
    void wake();
    /// Ends the transfer. At the end of the process a stream may be on its way here, unseen by
    /// whoever stops the streams.
    void give(Easy easy, Multi multi, bool isAhead);

    /// Somebody opens a connection to `service`, until it `came`, or did not. False if that is not
    /// needed.
    bool expect(const std::string& service);
    void came(const std::string& service);

    void stop() override;

    const CurlSettings settings;

private:
    struct ShareCleanUp {
        void operator()(CURLSH* share) const { curl_share_cleanup(share); }
    };
    static void lockCookies(CURL*, curl_lock_data, curl_lock_access, void* self);
    static void unlockCookies(CURL*, curl_lock_data, void* self);
    std::vector<Multi>::iterator find(const std::string& service);
    void dropUnused(std::uint64_t ahead);

    const OwnProcess process_;
    std::mutex cookiesInUse_;
    std::unique_ptr<CURLSH, ShareCleanUp> cookies_{curl_share_init()};
    std::mutex mutex_;  ///< guards what follows
    std::condition_variable changed_;
    std::vector<Multi> idle_;
    std::set<std::string> expected_;
    std::uint64_t lastAhead_ = 0;
    bool stopped_ = false;
};

}  // namespace korvel::platform
