#include <service/Channel.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <sys/socket.h>
#include <unistd.h>
#include <array>

namespace korvel::service {

Channel::Channel(int socket) : tls_(nullptr, &SSL_free), socket_(socket) {
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Channel::~Channel() { end(Ending::cut); }

bool Channel::handshake(SSL_CTX* context) {
    tls_.reset(SSL_new(context));
    if (!tls_ || SSL_set_fd(tls_.get(), socket_) != 1) return false;
    ERR_clear_error();
    return SSL_accept(tls_.get()) == 1;
}

std::size_t Channel::read(char* into, std::size_t size) {
    if (tls_) {
        ERR_clear_error();
        std::size_t got = 0;
        return SSL_read_ex(tls_.get(), into, size, &got) == 1 ? got : 0;
    }
    const ssize_t got = recv(socket_, into, size, 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

bool Channel::write(std::string_view bytes) {
    if (tls_) {
        ERR_clear_error();
        std::size_t sent = 0;
        return bytes.empty() || SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &sent) == 1;
    }
    while (!bytes.empty()) {
        const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

void Channel::end(Ending ending) {
    if (socket_ < 0) return;
    if (ending == Ending::farewell && tls_ && SSL_is_init_finished(tls_.get())) {
        ERR_clear_error();
        SSL_shutdown(tls_.get());
    }
    const std::lock_guard lock(closing_);
    if (ending == Ending::reset) {
        const linger atOnce{.l_onoff = 1, .l_linger = 0};
        setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    } else {
        // Bytes left unread would turn the FIN into a RST.
        std::array<char, 4096> unread{};
        while (recv(socket_, unread.data(), unread.size(), MSG_DONTWAIT) > 0) {
        }
        shutdown(socket_, SHUT_WR);
    }
    close(socket_);
    socket_ = -1;
}

void Channel::interrupt() {
    const std::lock_guard lock(closing_);
    if (socket_ >= 0) shutdown(socket_, SHUT_RDWR);
}

}  // namespace korvel::service
