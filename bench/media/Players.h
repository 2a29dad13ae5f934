#pragma once

#include <sys/types.h>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace korvel::bench {

using Numbers = std::vector<double>;

/// A player in a process of its own; see "player.cpp" for what it is told. A new one is started for
/// the next command if it breaks off.
class PlayerProcess {
public:
    explicit PlayerProcess(std::string engine) : engine_(std::move(engine)) {}
    ~PlayerProcess() { stop(); }
    PlayerProcess(const PlayerProcess&) = delete;
    PlayerProcess& operator=(const PlayerProcess&) = delete;

    /// Nothing if the player broke off or came to nothing.
    std::optional<Numbers> ask(const std::string& command);
    void stop();

private:
    void start();

    const std::string engine_;
    pid_t process_ = -1;
    int line_ = -1;
};

double median(std::vector<double> values);
/// "name value goal ok|short"
void report(const std::string& name, double value, double goal);

/// Of `command` in turns, ours over the peer's; says both. Nothing if one of them gave too few.
std::optional<double> ratio(int turns, PlayerProcess& ours, const std::string& command,
                            PlayerProcess& peer, const std::string& peers);

// Streams behind lines of a speed of their own, `streams` as "make-streams" makes them.

void measureMemory(const std::string& streams);
void measureSlowStart(const std::string& streams);
void measureTraces(const std::string& streams);

}  // namespace korvel::bench
