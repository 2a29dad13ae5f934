#pragma once

#include <service/Channel.h>
#include <service/ReceivedRequest.h>

#include <optional>
#include <string>

namespace korvel::service {

/// Takes one request after another off a connection. Finds where each ends and changes no byte of
/// it.
class RequestReader {
public:
    explicit RequestReader(Channel& channel) : channel_(channel) {}

    /// Blocks until the request is whole, or the client gone: then it is incomplete, or nothing if
    /// not even a first byte came.
    std::optional<ReceivedRequest> next();

private:
    bool fill();
    bool readHead(ReceivedRequest& request);
    bool readBody(ReceivedRequest& request);
    bool readChunks(ReceivedRequest& request);
    bool take(std::size_t bytes, std::string& into);
    bool takeLine(std::string& into);  ///< with its line end

    Channel& channel_;
    std::string pending_;  ///< read from the connection, not yet part of a request
};

}  // namespace korvel::service
