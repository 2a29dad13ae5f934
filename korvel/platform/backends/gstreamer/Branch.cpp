#include <korvel/platform/backends/gstreamer/Branch.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/Registry.h>

#include <type_traits>
#include <utility>

namespace korvel::platform::gst {

using std::chrono::nanoseconds;

namespace {

Caps capsOf(const hls::Format& format) {
    GstCaps* caps = gst_caps_from_string(format.caps.c_str());
    if (!caps || gst_caps_is_empty(caps) || gst_caps_is_any(caps)) {
        if (caps) gst_caps_unref(caps);
        return nullptr;
    }
    if (!format.codecData.empty()) {
        GstBuffer* data = gst_buffer_new_memdup(format.codecData.data(), format.codecData.size());
        gst_caps_set_simple(caps, "codec_data", GST_TYPE_BUFFER, data, nullptr);
        gst_buffer_unref(data);
    }
    return Caps(caps);
}

/// Whether the same elements go on with these samples.
bool isCodedAlike(const GstCaps* one, const GstCaps* other) {
    const GstStructure* first = gst_caps_get_structure(one, 0);
    const GstStructure* second = gst_caps_get_structure(other, 0);
    int version[2] = {};
    gst_structure_get_int(first, "mpegversion", &version[0]);
    gst_structure_get_int(second, "mpegversion", &version[1]);
    return gst_structure_has_name(first, gst_structure_get_name(second)) &&
           version[0] == version[1] &&
           gst_structure_has_field(first, "codec_data") ==
               gst_structure_has_field(second, "codec_data");
}

/// Which decoder MPEG sound takes depends on its layer, which the sound itself tells.
void addLayer(Caps& caps, const Data& sound) {
    const GstStructure* fields = gst_caps_get_structure(caps.get(), 0);
    int version = 0;
    gst_structure_get_int(fields, "mpegversion", &version);
    if (!gst_structure_has_name(fields, "audio/mpeg") || version != 1 ||
        gst_structure_has_field(fields, "layer") || sound.size() < 2 || sound[0] != 0xFF) {
        return;
    }
    const int layer = 4 - ((sound[1] >> 1U) & 3);
    caps.reset(gst_caps_make_writable(caps.release()));
    gst_caps_set_simple(caps.get(), "layer", G_TYPE_INT, layer, nullptr);
}

/// Not copied.
GstBuffer* bufferOf(Data bytes) {
    auto* kept = new Data(std::move(bytes));
    const HandOver first(kept);
    return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, kept->data(), kept->size(), 0,
                                       kept->size(), kept, [](gpointer data) {
                                           { const HandOver last(data); }
                                           delete static_cast<Data*>(data);
                                       });
}

GstClockTime clockTimeOf(std::optional<nanoseconds> time) {
    if (!time || (*time + lead).count() < 0) return GST_CLOCK_TIME_NONE;
    return static_cast<GstClockTime>((*time + lead).count());
}

Ref<GstPad> padOf(GstElement* element, const char* name) {
    return Ref<GstPad>(gst_element_get_static_pad(element, name));
}

}  // namespace

Branch::Branch(hls::Kind kind, GstBin* bin, Ref<GstPad> outlet, Pace& pace, Listener listener)
    : kind_(kind),
      bin_(bin),
      outlet_(std::move(outlet)),
      pace_(pace),
      listener_(std::move(listener)),
      feed_({.pass = [this](Item item) { return pass(std::move(item)); },
             .starved = listener_.starved}) {
    gst_bin_add(bin_, feed_.element());
    gst_pad_link(feed_.pad(), outlet_.get());
}

Branch::~Branch() = default;

void Branch::close() {
    const std::lock_guard lock(life_);
    closed_ = true;
}

/// What is being replaced meanwhile must not come between the event and the sink, which would
/// wait for nothing then.
void Branch::startFlush() {
    const std::lock_guard lock(life_);
    feed_.startFlush();
}

void Branch::stopFlush() {
    hasSamples_ = false;
    isStarted_ = false;
    isFresh_ = true;
    segmentIsDue_ = true;
    capsAreDue_ = true;
    feed_.stopFlush();
}

bool Branch::pass(Item item) {
    return std::visit(
        [this](auto& each) {
            using Each = std::decay_t<decltype(each)>;
            if constexpr (std::is_same_v<Each, hls::Sample>) return passSample(std::move(each));
            if constexpr (std::is_same_v<Each, End>) return passEnd();
            if constexpr (std::is_same_v<Each, Begin>) {
                from_ = each.from;
                segmentIsDue_ = true;
            }
            if constexpr (std::is_same_v<Each, Renewal>) renewalIsDue_ |= hasSamples_;
            if constexpr (std::is_same_v<Each, std::shared_ptr<const hls::Format>>) take(each);
            return true;
        },
        item);
}

void Branch::take(const std::shared_ptr<const hls::Format>& format) {
    Caps caps = capsOf(*format);
    if (!caps) {
        isDumb_ = true;
        return listener_.undecodable(format->caps);
    }
    if (!built_ || !isCodedAlike(built_.get(), caps.get())) {
        renewalIsDue_ = true;
        isDumb_ = false;
    }
    caps_ = std::move(caps);
    capsAreDue_ = true;
}

/// Parser and decoder for what comes next, and what they have to know before it.
bool Branch::prepare(nanoseconds time) {
    if (std::exchange(renewalIsDue_, false)) {
        if (std::exchange(hasSamples_, false)) drain();
        if (!build()) return false;
    }
    const auto piece = pace_.pass(time);
    if (piece.number != piece_) segmentIsDue_ = true;
    if (!isStarted_ || capsAreDue_ || segmentIsDue_) announce();
    return true;
}

void Branch::announce() {
    if (!std::exchange(isStarted_, true)) {
        gst_pad_push_event(
            feed_.pad(), gst_event_new_stream_start(kind_ == hls::Kind::picture ? "korvel/picture"
                                                                                : "korvel/sound"));
    }
    if (std::exchange(capsAreDue_, false) && decoder_)
        gst_pad_push_event(feed_.pad(), gst_event_new_caps(caps_.get()));
    if (!std::exchange(segmentIsDue_, false)) return;
    const auto piece = pace_.current();
    piece_ = piece.number;
    const GstSegment segment = segmentOf(piece, from_, isFresh_);
    gst_pad_push_event(feed_.pad(), gst_event_new_segment(&segment));
}

bool Branch::passSample(hls::Sample sample) {
    const std::size_t size = sample.bytes.size();
    bool goesOn = true;
    if (!isDumb_ && size > 0 && caps_) {
        if (capsAreDue_) addLayer(caps_, sample.bytes);
        const auto time = sample.pts ? *sample.pts : pace_.current().from;
        if (prepare(time)) {
            GstBuffer* buffer = bufferOf(std::move(sample.bytes));
            GST_BUFFER_PTS(buffer) = clockTimeOf(sample.pts);
            GST_BUFFER_DTS(buffer) = clockTimeOf(sample.dts);
            if (sample.duration && sample.duration->count() > 0)
                GST_BUFFER_DURATION(buffer) = static_cast<GstClockTime>(sample.duration->count());
            if (!sample.isKey) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
            if (std::exchange(isFresh_, false))
                GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
            hasSamples_ = true;
            const GstFlowReturn flow = gst_pad_push(feed_.pad(), buffer);
            if (flow == GST_FLOW_FLUSHING) return false;
            // An element that fails says why; one that refuses says nothing.
            if (flow < GST_FLOW_EOS) GST_ELEMENT_FLOW_ERROR(feed_.element(), flow);
            goesOn = flow >= GST_FLOW_EOS;
        }
    }
    listener_.taken(size);
    return goesOn;
}

bool Branch::passEnd() {
    if (caps_ && !isDumb_) prepare(pace_.current().from);
    announce();
    gst_pad_push_event(feed_.pad(), gst_event_new_eos());
    return false;
}

/// What the elements hold is shown; that it was the end stays among them.
void Branch::drain() {
    const auto out = padOf(decoder_.get(), "src");
    gst_pad_add_probe(
        out.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer) {
            return GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS
                       ? GST_PAD_PROBE_DROP
                       : GST_PAD_PROBE_OK;
        },
        nullptr, nullptr);
    const auto in = padOf(parser_ ? parser_.get() : decoder_.get(), "sink");
    gst_pad_send_event(in.get(), gst_event_new_eos());
}

void Branch::removeElements() {
    const Ref<GstPad> peer(gst_pad_get_peer(feed_.pad()));
    if (peer) gst_pad_unlink(feed_.pad(), peer.get());
    for (Ref<GstElement>* each : {&parser_, &decoder_}) {
        if (!*each) continue;
        gst_element_set_state(each->get(), GST_STATE_NULL);
        gst_bin_remove(bin_, each->get());
        each->reset();
    }
}

/// False if there is nothing to decode with, or no time left to.
bool Branch::build() {
    Ref<GstElement> decoder = makeDecoder(caps_.get());
    Ref<GstElement> parser = makeParser(caps_.get());
    const std::lock_guard lock(life_);
    if (closed_) {
        if (decoder) gst_element_set_state(decoder.get(), GST_STATE_NULL);
        return false;
    }
    removeElements();
    built_.reset(gst_caps_ref(caps_.get()));
    if (!decoder) {
        isDumb_ = true;
        gst_pad_link(feed_.pad(), outlet_.get());
        listener_.undecodable(taken(gst_caps_to_string(caps_.get())));
        return false;
    }
    parser_ = std::move(parser);
    decoder_ = std::move(decoder);
    gst_bin_add(bin_, decoder_.get());
    gst_pad_link(padOf(decoder_.get(), "src").get(), outlet_.get());
    auto head = padOf(decoder_.get(), "sink");
    if (parser_) {
        gst_bin_add(bin_, parser_.get());
        gst_pad_link(padOf(parser_.get(), "src").get(), head.get());
        head = padOf(parser_.get(), "sink");
    }
    gst_pad_link(feed_.pad(), head.get());
    gst_element_sync_state_with_parent(decoder_.get());
    if (parser_) gst_element_sync_state_with_parent(parser_.get());
    isStarted_ = false;
    capsAreDue_ = segmentIsDue_ = true;
    return true;
}

}  // namespace korvel::platform::gst
