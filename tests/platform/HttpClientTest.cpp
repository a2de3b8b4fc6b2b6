#include "platform/posix/CurlHttpClient.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/LoopbackServer.h"
#include "tests/platform/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <future>

namespace reelsweep {
namespace {

using namespace std::chrono_literals;
using Behaviour = test::LoopbackServer::Behaviour;

class Http : public testing::Test {
protected:
    /// What became of a POST; its future is not ready when it was not started.
    std::future<HttpResult> post(HttpRequest request) {
        auto promise = std::make_shared<std::promise<HttpResult>>();
        auto answer = promise->get_future();
        started = client->post(std::move(request),
                               [promise](const HttpResult& result) { promise->set_value(result); });
        return answer;
    }

    test::EnvironmentVariable noProxy{"no_proxy", "*"};
    std::unique_ptr<CurlHttpClient> client = std::make_unique<CurlHttpClient>();
    bool started = false;
};

TEST_F(Http, SendsTheBodyByteForByte) {
    const test::LoopbackServer server;
    std::string large = std::string("--a\r\n\0\xFF%@", 10);
    while (large.size() < 3'000'000) large += large;
    for (const std::string& body : {std::string(), large}) {
        auto answer = post({server.address() + "/qc.php", {"Content-Type: text/x"}, body});
        const HttpResult result = answer.get();
        EXPECT_EQ(result.status, 200);
        EXPECT_FALSE(result.error) << *result.error;
        const auto request = server.requests().back();
        EXPECT_TRUE(request.head.starts_with("POST /qc.php HTTP/1.1\r\n")) << request.head;
        EXPECT_NE(request.head.find("\r\nContent-Type: text/x\r\n"), std::string::npos);
        EXPECT_TRUE(request.body == body) << "other bytes than were sent";
    }
}

TEST_F(Http, SaysWhatBecameOfARequest) {
    struct Row {
        Behaviour behaviour;
        long status;
        bool failed;
    };
    for (const Row& row :
         {Row{Behaviour::fail500, 500, false}, Row{Behaviour::redirect, 307, false},
          Row{Behaviour::reset, 0, true}, Row{Behaviour::silent, 0, true}}) {
        const test::LoopbackServer server(row.behaviour);
        const HttpResult result = post({server.address(), {}, "body", 300ms}).get();
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.error.has_value(), row.failed);
        EXPECT_EQ(server.requests().size(), 1U) << "sent again, or elsewhere";
    }
}

TEST_F(Http, StartsNothingButTheWeb) {
    for (const char* const address :
         {"", "nothing", "file:///etc/passwd", "ftp://127.0.0.1/", "http://"}) {
        (void)post({address, {}, "body"});
        EXPECT_FALSE(started) << address;
    }
}

TEST_F(Http, EndsWhileTheServerIsSilent) {
    const test::LoopbackServer server(Behaviour::silent);
    auto first = post({server.address(), {}, "body", 1h});
    auto second = post({server.address(), {}, "body", 1h});
    while (server.requests().empty()) std::this_thread::yield();
    client.reset();
    EXPECT_TRUE(first.get().error);
    EXPECT_TRUE(second.get().error);
}

TEST_F(Http, AProgramEndsWhileTheServerIsSilent) {
    test::ChildProcess child([] {
        static auto* const server = new test::LoopbackServer(Behaviour::silent);
        static auto* const lasting = new CurlHttpClient;
        lasting->post({server->address(), {}, "body", 1h}, [](const HttpResult& result) {
            std::puts(result.error ? "ended" : "answered");
        });
        while (server->requests().empty()) std::this_thread::yield();
    });
    EXPECT_EQ(child.wait(), 0) << child.standardError();
    EXPECT_EQ(child.standardOutput(), "ended\n");
}

}  // namespace
}  // namespace reelsweep
