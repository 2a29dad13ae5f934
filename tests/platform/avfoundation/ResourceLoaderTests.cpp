#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/avfoundation/AVURLAsset.h>
#include <korvel/platform/foundation/Semaphore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace korvel::tests {

using namespace platform;

namespace {

using Request = std::shared_ptr<AVAssetResourceLoadingRequest>;

struct Delegate final : AVAssetResourceLoaderDelegate {
    std::function<bool(Request)> answer;
    bool shouldWaitForLoadingOfRequestedResource(AVAssetResourceLoader&, Request request) override {
        return answer(std::move(request));
    }
};

class ResourceLoader : public testing::Test {
protected:
    Request load() {
        return asset.resourceLoader()->load(URLRequest(*URL::parse("skd://h/k?kid=1")),
                                            [this] { finished.signal(); });
    }
    Request finish(std::function<bool(Request)> answer) {
        delegate->answer = std::move(answer);
        auto request = load();
        finished.wait();
        queue->async([this] { finished.signal(); });  // behind the answer, which is another's next
        finished.wait();
        return request;
    }
    static std::int64_t errorCode(const Request& request) {
        const auto key = request->key();
        const auto* error = std::get_if<NSError>(&key);
        return error ? error->code : 0;
    }

    AVURLAsset asset{*URL::parse("https://h/v.m3u8")};
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::shared_ptr<DispatchQueue> queue = DispatchQueue::serial("keys");
    Semaphore finished{0};
};

constexpr auto notAuthorized = static_cast<std::int64_t>(AVError::contentIsNotAuthorized);

}  // namespace

TEST_F(ResourceLoader, FirstEndingCounts) {
    asset.resourceLoader()->setDelegate(delegate, queue);
    const Data sixteen(16, 7);
    const auto good = finish([&](const Request& request) {
        EXPECT_EQ(request->request()->url.absoluteString(), "skd://h/k?kid=1");
        request->dataRequest()->respond(Data(9, 7));
        request->dataRequest()->respond(Data(7, 7));
        request->finishLoading();
        request->dataRequest()->respond(sixteen);
        request->finishLoading(NSError{"late", 1, {}});
        return false;
    });
    ASSERT_TRUE(std::holds_alternative<ContentKey>(good->key()));
    EXPECT_TRUE(std::ranges::equal(std::get<ContentKey>(good->key()), sixteen));

    const auto tooLong = finish([](const Request& request) {
        request->dataRequest()->respond(Data(17));
        request->finishLoading();
        return true;
    });
    EXPECT_EQ(errorCode(tooLong), notAuthorized);
}

TEST_F(ResourceLoader, RequestsFailWithoutADelegateAndWhenItDies) {
    EXPECT_EQ(errorCode(load()), notAuthorized);
    finished.wait();
    asset.resourceLoader()->setDelegate(delegate, nullptr);
    EXPECT_EQ(errorCode(load()), notAuthorized);
    finished.wait();

    asset.resourceLoader()->setDelegate(delegate, queue);
    Semaphore blocked(0), reached(0);
    queue->async([&] {
        reached.signal();
        blocked.wait();
    });
    reached.wait();
    const auto request = load();
    delegate.reset();
    blocked.signal();
    finished.wait();
    EXPECT_EQ(errorCode(request), notAuthorized);
}

}  // namespace korvel::tests
