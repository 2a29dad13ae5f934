#pragma once

#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/hls/Media.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>

namespace korvel::platform::gst {

struct Begin {
    std::chrono::nanoseconds from;
};
struct Renewal {};
struct End {};
using Item = std::variant<Begin, std::shared_ptr<const hls::Format>, Renewal, hls::Sample, End>;

/// Where one kind of samples enters the pipeline: an element with one pad, a queue that takes
/// whatever comes, and a thread that empties it. It outlives its element's time in a pipeline.
///
/// `put` and the flushing functions come one at a time; the element starts and ends the thread.
class Feed {
public:
    struct Listener {
        /// Passes one item on; false if there is nothing more to be passed on until a flush.
        std::function<bool(Item)> pass;
        std::function<void()> starved;  ///< the thread is about to wait for an item
    };
    explicit Feed(Listener listener);
    ~Feed();
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    GstElement* element() const { return element_.get(); }
    GstPad* pad() const { return pad_; }

    void put(Item item);
    /// All on its way is given up.
    void startFlush();
    /// Waits until the thread has left the pipeline and stands still.
    void settle();
    /// It goes on, with an empty queue.
    void stopFlush();

private:
    static gboolean activate(GstPad* pad, GstObject* element, GstPadMode mode, gboolean active);
    static void run(gpointer feed);
    void pauseThread();
    std::optional<Item> next();
    bool isActive();

    const Listener listener_;
    Ref<GstElement> element_;
    GstPad* pad_ = nullptr;  ///< the element's

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Item> items_;
    bool active_ = false;
    bool flushing_ = false;
};

}  // namespace korvel::platform::gst
