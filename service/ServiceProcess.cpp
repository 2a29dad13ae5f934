#include <service/ServiceProcess.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace korvel::service {

namespace {

[[noreturn]] void serve(int end, const ContentService::Options& options,
                        const std::function<std::string(ContentService&)>& prepare) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    ContentService service(options);
    const std::string said = prepare ? prepare(service) : "";
    const auto text = std::to_string(service.port()) + '\n' + service.baseURL() + '\n' +
                      service.caFile().string() + '\n' + said;
    if (write(end, text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(1);
    close(end);
    for (;;) pause();
}

}  // namespace

ServiceProcess::ServiceProcess(const ContentService::Options& options,
                               const std::function<std::string(ContentService&)>& prepare) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) std::abort();
    process_ = fork();
    if (process_ == 0) serve(ends[1], options, prepare);
    close(ends[1]);
    std::string text;
    std::array<char, 1024> piece{};
    for (ssize_t size = 0; (size = read(ends[0], piece.data(), piece.size())) > 0;)
        text.append(piece.data(), static_cast<std::size_t>(size));
    close(ends[0]);
    std::istringstream lines(text);
    std::string port;
    if (!std::getline(lines, port) || !std::getline(lines, baseURL_) ||
        !std::getline(lines, caFile_)) {
        std::fputs("The content service did not start.\n", stderr);
        std::abort();
    }
    port_ = static_cast<std::uint16_t>(std::stoi(port));
    std::getline(lines, said_, '\0');
}

ServiceProcess::~ServiceProcess() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

}  // namespace korvel::service
