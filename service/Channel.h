#pragma once

#include <openssl/ssl.h>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>

namespace korvel::service {

/// The bytes of one accepted connection, under TLS once the handshake is through. Everything but
/// `interrupt` belongs to the connection's own thread.
class Channel {
public:
    explicit Channel(int socket);  ///< owned
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    bool handshake(SSL_CTX* context);
    /// Blocks for at least one byte; 0: no more will come.
    std::size_t read(char* into, std::size_t size);
    bool write(std::string_view bytes);

    /// How a connection can end. Each closes the socket; later calls do nothing.
    enum class Ending {
        farewell,  ///< properly, with TLS's own good-bye
        cut,       ///< FIN alone, as when the other program has died
        reset,     ///< RST
    };
    void end(Ending ending);

    /// Makes every blocked and later read and write fail. Any thread.
    void interrupt();

private:
    std::unique_ptr<SSL, decltype(&SSL_free)> tls_;
    std::mutex closing_;  ///< a socket number is the system's to reuse once it is closed
    int socket_;
};

}  // namespace korvel::service
