#include "Players.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace korvel::bench {

namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;
using Steady = std::chrono::steady_clock;

/// Megabits a second, so many seconds after the first request.
using Speed = std::function<double(double)>;

/// A server of a folder behind one token bucket for all of its connections.
class Line {
public:
    Line(const std::string& folder, Speed speed) : speed_(std::move(speed)) {
        server_.set_tcp_nodelay(true);
        server_.new_task_queue = [] { return new httplib::ThreadPool(16); };
        server_.Get("/(.*)", [this, folder](const httplib::Request& request, auto& response) {
            auto content = std::make_shared<std::string>();
            httplib::detail::read_file(folder + request.path, *content);
            if (content->empty()) return void(response.status = 404);
            const auto type = request.path.ends_with(".m3u8") ? "application/vnd.apple.mpegurl"
                                                              : "application/octet-stream";
            response.set_content_provider(
                content->size(), type,
                [this, content, path = request.path](std::size_t at, std::size_t left, auto& sink) {
                    const auto size = std::min<std::size_t>(left, 2048);
                    take(size);
                    if (!sink.write(content->data() + at, size)) return false;
                    if (at == 0) came(path);
                    return true;
                });
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
    }
    ~Line() {
        server_.stop();
        thread_.join();
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    std::string operator/(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
    }

    /// As they were played, by number; kilobits a second.
    struct Segment {
        int rate = 0;
        double began = 0;  ///< seconds after the first request
    };
    std::map<int, Segment> segments() {
        const std::lock_guard lock(mutex_);
        return segments_;
    }
    double mean() {
        double sum = 0;
        const auto all = segments();
        for (const auto& [number, each] : all) sum += each.rate;
        return sum / static_cast<double>(std::max<std::size_t>(all.size(), 1));
    }

private:
    void take(std::size_t bytes) {
        std::unique_lock lock(mutex_);
        if (last_ == Steady::time_point{}) start_ = last_ = Steady::now();
        for (;;) {
            const auto now = Steady::now();
            const double speed = speed_(Seconds(now - start_).count());
            tokens_ = std::min(tokens_ + speed * 125e3 * Seconds(now - last_).count(), 8192.);
            last_ = now;
            if (tokens_ >= static_cast<double>(bytes)) break;
            lock.unlock();
            std::this_thread::sleep_for(1ms);
            lock.lock();
        }
        tokens_ -= static_cast<double>(bytes);
    }
    void came(const std::string& path) {  // "/ladder/900/17"
        int rate = 0;
        int number = 0;
        if (std::sscanf(path.c_str(), "/ladder/%d/%d", &rate, &number) != 2) return;
        if (path.ends_with("m3u8")) return;
        const std::lock_guard lock(mutex_);
        segments_[number] = {rate, Seconds(Steady::now() - start_).count()};
    }

    const Speed speed_;
    std::mutex mutex_;
    Steady::time_point start_;
    Steady::time_point last_;
    double tokens_ = 0;
    std::map<int, Segment> segments_;
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
};

struct Trace {
    const char* name;
    Speed speed;
};

/// By the second, as somebody on a train has it.
constexpr std::array mobile = {3.1, 2.8, 3.4, 4.2, 3.9, 2.2, 1.1, 0.6, 0.9, 1.6, 2.4, 3.8,
                               5.1, 6.0, 5.2, 4.4, 2.9, 1.7, 0.8, 0.4, 0.7, 1.9, 3.2, 4.1};

std::array<Trace, 5> traces() {
    return {{{"drop", [](double t) { return t < 16   ? 8.
                                            : t < 36 ? 1.
                                                     : 8.; }},
             {"steps",
              [](double t) {
                  return std::array{1.5, 3., 6., 3.}[std::size_t(t / 8) % 4];
              }},
             {"saw", [](double t) { return 0.8 + 5.2 * std::abs(std::fmod(t, 24) - 12) / 12; }},
             {"mobile", [](double t) { return mobile[std::size_t(t) % mobile.size()]; }},
             {"gaps", [](double t) { return std::fmod(t, 20) > 16 ? 0.1 : 5.; }}}};
}

struct Course {
    std::optional<Numbers> numbers;  ///< first, stalled, longest, peak
    double mean = 0;
    std::map<int, Line::Segment> segments{};
};

Course play(const std::string& engine, const std::string& streams, const Trace& trace,
            int seconds = 60) {
    Course course;
    // The peer loses a course now and then; a figure needs one that both of them ran.
    for (int turn = 0; turn < (engine == "ours" ? 1 : 2) && !course.numbers; ++turn) {
        Line line(streams, trace.speed);
        PlayerProcess player(engine);
        course.numbers =
            player.ask("play " + line / "ladder/index.m3u8" + " " + std::to_string(seconds));
        player.stop();
        course.mean = line.mean();
        course.segments = line.segments();
    }
    return course;
}

/// How many of lesser variants are still begun once the line is quick.
int segmentsUntilBest(const Course& course, double since) {
    int lesser = 0;
    for (const auto& [number, each] : course.segments) {
        if (each.began > since && each.rate == 5000) return lesser;
        lesser += each.began > since;
    }
    return lesser;
}

}  // namespace

void measureTraces(const std::string& streams) {
    const auto all = traces();
    std::array<std::array<Course, 2>, all.size()> courses;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (const std::size_t engine : {0U, 1U}) {
            threads.emplace_back([&, i, engine] {
                courses[i][engine] = play(engine == 0 ? "ours" : "playbin3", streams, all[i]);
            });
        }
    }
    for (auto& thread : threads) thread.join();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const auto& [ours, peer] = courses[i];
        for (const auto* each : {&ours, &peer}) {
            std::cout << "  " << all[i].name << (each == &ours ? " ours" : " playbin3");
            if (each->numbers) {
                std::cout << ": first " << each->numbers->at(0) << " s, stalled "
                          << each->numbers->at(1) << " s, longest " << each->numbers->at(2) << " s";
            }
            std::cout << ", mean " << each->mean << " kbit/s:";
            for (const auto& [number, segment] : each->segments) std::cout << ' ' << segment.rate;
            std::cout << std::endl;
        }
        if (!ours.numbers || !peer.numbers) continue;
        report(std::string("stalled_more_than_playbin3_s_") + all[i].name,
               std::max(ours.numbers->at(1) - peer.numbers->at(1), 0.), 0.1);
        report(std::string("bitrate_playbin3_vs_ours_") + all[i].name, peer.mean / ours.mean, 1);
    }
    if (courses[0][0].numbers) {
        report("longest_stall_in_drop_s", courses[0][0].numbers->at(2), 2);
        report("segments_until_best_after_drop", segmentsUntilBest(courses[0][0], 36), 3);
    }
}

/// Against the lowest variant alone, which no player that does not know the line can beat; and how
/// soon a quick line is found out.
void measureSlowStart(const std::string& streams) {
    std::vector<double> all;
    std::vector<double> lowest;
    for (int i = 0; i < 5; ++i) {
        for (auto* times : {&all, &lowest}) {
            Line line(streams, [](double) { return 1.; });
            PlayerProcess player("ours");
            const auto numbers = player.ask(
                "first " + line / (times == &all ? "ladder/index.m3u8" : "ladder/350/index.m3u8"));
            if (numbers) times->push_back(numbers->front());
        }
    }
    if (all.size() < 3 || lowest.size() < 3) return;
    std::cout << "  all " << median(all) << " s, lowest " << median(lowest) << " s" << std::endl;
    report("slow_start_vs_lowest", median(all) / median(lowest), 1.3);
    const Course quick = play("ours", streams, {"quick", [](double) { return 50.; }}, 8);
    if (quick.numbers) report("segments_until_best_at_start", segmentsUntilBest(quick, -1), 3);
}

void measureMemory(const std::string& streams) {
    Line line(streams, [](double) { return 1000.; });
    std::array<double, 2> peaks{};
    for (const std::size_t engine : {0U, 1U}) {
        PlayerProcess player(engine == 0 ? "ours" : "playbin3");
        const auto numbers = player.ask("play " + line / "large/index.m3u8" + " 25");
        if (!numbers) return;
        peaks[engine] = numbers->at(3) / 1024;
    }
    std::cout << "  ours " << peaks[0] << " MiB, playbin3 " << peaks[1] << " MiB" << std::endl;
    report("memory_1080p_vs_playbin3", peaks[0] / peaks[1], 1);
}

}  // namespace korvel::bench
