// HttpClient: sends data to a web server and says what became of it.
//
// Owner: Platform. Thread rule: post from any thread; completions run on a thread of the client's
// own, one at a time. The client ends (and Platform replaces it) on another thread than that one.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

struct HttpRequest {
    std::string address;               ///< http or https
    std::vector<std::string> headers;  ///< each "Name: value"
    std::string body;                  ///< bytes, sent as they are
    /// From the start of the request to the end of the answer.
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
};

struct HttpResult {
    /// The server's answer, such as 200 or 500; 0 when there was none.
    long status = 0;
    /// Why there is no complete answer. An answer that refuses, such as 500, is none of these.
    std::optional<std::string> error;
};

class HttpClient {
public:
    using Completion = std::function<void(const HttpResult&)>;

    /// Ends what is under way, at once: its completions get an error.
    virtual ~HttpClient() = default;

    /// Starts a POST and returns. The completion is called once, unless the answer is false: the
    /// address is neither http nor https, or not an address, or nothing can be started. The
    /// contents of the answer are dropped; a redirection is an answer like others, since data goes
    /// only where it was addressed to.
    virtual bool post(HttpRequest request, Completion completion) = 0;
};

}  // namespace reelsweep
