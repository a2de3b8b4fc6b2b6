// CurlHttpClient: the web through libcurl.
//
// One thread, which starts with the first request, drives all requests. It ends with the client, or
// with the process.
#pragma once

#include "platform/HttpClient.h"

#include <memory>
#include <mutex>

namespace reelsweep {

class CurlHttpClient final : public HttpClient {
public:
    CurlHttpClient();
    ~CurlHttpClient() override;
    CurlHttpClient(const CurlHttpClient&) = delete;
    CurlHttpClient& operator=(const CurlHttpClient&) = delete;

    bool post(HttpRequest request, Completion completion) override;

private:
    class Worker;

    std::mutex mutex_;
    std::shared_ptr<Worker> worker_;  ///< none before the first request
};

}  // namespace reelsweep
