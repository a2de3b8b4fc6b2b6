// LoopbackServer: a web server on 127.0.0.1 that takes requests one by one and answers as told.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace reelsweep::test {

class LoopbackServer {
public:
    enum class Behaviour { answer, fail500, redirect, silent, reset };

    struct Request {
        std::string head;  ///< to the blank line, which is part of it
        std::string body;
    };

    explicit LoopbackServer(Behaviour behaviour = Behaviour::answer) : behaviour_(behaviour) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        if (listener_ < 0 || ::bind(listener_, any, size) != 0 || ::listen(listener_, 8) != 0 ||
            ::getsockname(listener_, any, &size) != 0)
            throw std::runtime_error("no loopback server");
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    ~LoopbackServer() {
        ending_ = true;
        thread_.join();
        ::close(listener_);
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    std::string address() const { return "http://127.0.0.1:" + std::to_string(port_); }

    std::vector<Request> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    void run() {
        while (!ending_) {
            if (!readable(listener_)) continue;
            const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0) continue;
            serve(connection);
            ::close(connection);
        }
    }

    static bool readable(int descriptor) {
        pollfd waiting{descriptor, POLLIN, 0};
        return ::poll(&waiting, 1, 20) > 0;
    }

    void serve(int connection) {
        Request request;
        std::size_t missing = 1;
        while (!ending_ && missing > 0) {
            if (!readable(connection)) continue;
            std::array<char, 65536> bytes;
            const ssize_t count = ::recv(connection, bytes.data(), bytes.size(), 0);
            if (count <= 0) return;
            request.body.append(bytes.data(), static_cast<std::size_t>(count));
            missing = missingBytes(request);
        }
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        reply(connection);
    }

    /// Moves the head out of the body when it is whole; how many bytes must still come, at least.
    static std::size_t missingBytes(Request& request) {
        if (request.head.empty()) {
            const std::size_t end = request.body.find("\r\n\r\n");
            if (end == std::string::npos) return 1;
            request.head = request.body.substr(0, end + 4);
            request.body.erase(0, end + 4);
        }
        const std::size_t length = request.head.find("Content-Length: ");
        if (length == std::string::npos) return 0;
        const std::size_t whole = std::stoul(request.head.substr(length + 16));
        return whole - std::min(whole, request.body.size());
    }

    void reply(int connection) const {
        std::string text = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nthere";
        if (behaviour_ == Behaviour::fail500)
            text = "HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n";
        if (behaviour_ == Behaviour::redirect)
            text = "HTTP/1.1 307 Temporary Redirect\r\nLocation: " + address() +
                   "/elsewhere\r\nContent-Length: 0\r\n\r\n";
        if (behaviour_ == Behaviour::reset) {
            const linger atOnce{1, 0};
            ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            return;
        }
        // Silent: until the other side gives up.
        if (behaviour_ == Behaviour::silent)
            while (!ending_ && !readable(connection)) continue;
        else
            (void)!::send(connection, text.data(), text.size(), MSG_NOSIGNAL);
    }

    const Behaviour behaviour_;
    const int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    unsigned port_ = 0;
    std::atomic<bool> ending_ = false;
    mutable std::mutex mutex_;
    std::vector<Request> requests_;
    std::thread thread_;
};

}  // namespace reelsweep::test
