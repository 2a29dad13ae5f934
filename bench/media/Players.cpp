#include "Players.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace korvel::bench {

void PlayerProcess::start() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(ends[1], STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        execl(KORVEL_BENCH_PLAYER, KORVEL_BENCH_PLAYER, engine_.c_str(), nullptr);
        _exit(127);
    }
    close(ends[1]);
    line_ = ends[0];
}

void PlayerProcess::stop() {
    if (process_ < 0) return;
    close(line_);
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

std::optional<Numbers> PlayerProcess::ask(const std::string& command) {
    if (process_ < 0) start();
    const std::string sent = command + '\n';
    std::string answer;
    // A peer that hangs at its end is one that broke off; its own limit for a first picture is 20
    // s.
    const timeval limit{.tv_sec = command.starts_with("first") ? 60 : 900, .tv_usec = 0};
    setsockopt(line_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    bool whole =
        send(line_, sent.data(), sent.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(sent.size());
    for (char each = 0; whole && each != '\n';) {
        whole = read(line_, &each, 1) == 1;
        if (whole) answer += each;
    }
    if (!whole) {
        std::cout << "  " << engine_ << " broke off at " << command << std::endl;
        stop();
        return std::nullopt;
    }
    std::istringstream in(answer);
    Numbers numbers;
    for (double each = 0; in >> each;) numbers.push_back(each);
    if (numbers.empty()) {
        std::cout << "  " << engine_ << " came to nothing at " << command << std::endl;
        return std::nullopt;
    }
    return numbers;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void report(const std::string& name, double value, double goal) {
    std::cout << name << ' ' << value << ' ' << goal << (value <= goal ? " ok" : " short")
              << std::endl;
}

std::optional<double> ratio(int turns, PlayerProcess& ours, const std::string& command,
                            PlayerProcess& peer, const std::string& peers) {
    std::vector<double> one;
    std::vector<double> other;
    for (int i = 0; i < 3; ++i) {  // plugins load at their first use
        ours.ask(command);
        peer.ask(peers);
    }
    for (int i = 0; i < turns; ++i) {
        if (const auto numbers = ours.ask(command)) one.push_back(numbers->front());
        if (const auto numbers = peer.ask(peers)) other.push_back(numbers->front());
    }
    const auto fewest = static_cast<std::size_t>(turns) / 2;
    if (one.size() < fewest || other.size() < fewest) return std::nullopt;
    std::cout << "  ours " << median(one) << ", peer " << median(other) << std::endl;
    return median(one) / median(other);
}

}  // namespace korvel::bench
