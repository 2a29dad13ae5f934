#include <korvel/platform/backends/gstreamer/Feed.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>

#include <utility>

namespace korvel::platform::gst {

namespace {

void initializeClass(gpointer classPointer, gpointer) {
    gst_element_class_set_static_metadata(GST_ELEMENT_CLASS(classPointer), "Korvel feed", "Source",
                                          "Passes on the samples of a stream", "Korvel");
}

GType feedType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_ELEMENT, "KorvelFeed", sizeof(GstElementClass), initializeClass,
        sizeof(GstElement), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

}  // namespace

Feed::Feed(Listener listener)
    : listener_(std::move(listener)),
      element_(GST_ELEMENT(gst_object_ref_sink(g_object_new(feedType(), nullptr)))) {
    GST_OBJECT_FLAG_SET(element(), GST_ELEMENT_FLAG_SOURCE);
    pad_ = gst_pad_new("src", GST_PAD_SRC);
    gst_pad_set_element_private(pad_, this);
    gst_pad_use_fixed_caps(pad_);
    gst_pad_set_activatemode_function(pad_, activate);
    gst_element_add_pad(element(), pad_);
}

Feed::~Feed() = default;

void Feed::put(Item item) {
    const HandOver handOver(this);
    {
        const std::lock_guard lock(mutex_);
        items_.push_back(std::move(item));
    }
    changed_.notify_one();
}

gboolean Feed::activate(GstPad* pad, GstObject*, GstPadMode mode, gboolean active) {
    auto& self = *static_cast<Feed*>(gst_pad_get_element_private(pad));
    if (mode != GST_PAD_MODE_PUSH) return FALSE;
    {
        const std::lock_guard lock(self.mutex_);
        self.active_ = active != FALSE;
    }
    self.changed_.notify_all();
    return active ? gst_pad_start_task(pad, run, &self, nullptr) : gst_pad_stop_task(pad);
}

bool Feed::isActive() {
    const std::lock_guard lock(mutex_);
    return active_;
}

/// Nothing while flushing or being closed.
std::optional<Item> Feed::next() {
    std::unique_lock lock(mutex_);
    const auto stops = [&] { return flushing_ || !active_; };
    if (items_.empty() && !stops()) {
        lock.unlock();
        listener_.starved();
        lock.lock();
    }
    changed_.wait(lock, [&] { return stops() || !items_.empty(); });
    if (stops()) return std::nullopt;
    Item item = std::move(items_.front());
    items_.pop_front();
    return item;
}

void Feed::run(gpointer feed) {
    const HandOver handOver(feed);
    auto& self = *static_cast<Feed*>(feed);
    auto item = self.next();
    if (!item || !self.listener_.pass(*std::move(item))) gst_pad_pause_task(self.pad_);
}

void Feed::startFlush() {
    {
        const std::lock_guard lock(mutex_);
        flushing_ = true;
    }
    changed_.notify_all();
    if (isActive()) gst_pad_push_event(pad_, gst_event_new_flush_start());
}

void Feed::settle() {
    // Also while it is being deactivated: its thread may not have ended yet.
    gst_pad_pause_task(pad_);
    GST_PAD_STREAM_LOCK(pad_);
    GST_PAD_STREAM_UNLOCK(pad_);
    const HandOver handOver(this);
}

void Feed::stopFlush() {
    std::deque<Item> former;  // released after the lock
    {
        const std::lock_guard lock(mutex_);
        former = std::exchange(items_, {});
        flushing_ = false;
    }
    if (!isActive()) return;
    gst_pad_push_event(pad_, gst_event_new_flush_stop(TRUE));
    gst_pad_start_task(pad_, run, this, nullptr);
}

}  // namespace korvel::platform::gst
