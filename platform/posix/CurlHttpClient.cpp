#include "platform/posix/CurlHttpClient.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include <curl/curl.h>

namespace reelsweep {

namespace {

template <auto function>
struct Release {
    template <class T>
    void operator()(T* resource) const {
        function(resource);
    }
};

using Easy = std::unique_ptr<CURL, Release<curl_easy_cleanup>>;
using Multi = std::unique_ptr<CURLM, Release<curl_multi_cleanup>>;
using Address = std::unique_ptr<CURLU, Release<curl_url_cleanup>>;
using Text = std::unique_ptr<char, Release<curl_free>>;
using Headers = std::unique_ptr<curl_slist, Release<curl_slist_free_all>>;

bool isWebAddress(const std::string& address) {
    const Address url(curl_url());
    if (!url || curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) != CURLUE_OK)
        return false;
    char* scheme = nullptr;
    if (curl_url_get(url.get(), CURLUPART_SCHEME, &scheme, 0) != CURLUE_OK) return false;
    const Text owner(scheme);
    return scheme == std::string_view("http") || scheme == std::string_view("https");
}

std::size_t dropBytes(char*, std::size_t size, std::size_t count, void*) { return size * count; }

/// One request under way, and all the memory that libcurl refers to meanwhile.
struct Transfer {
    HttpRequest request;
    HttpClient::Completion completion;
    std::array<char, CURL_ERROR_SIZE> error{};
    Headers headers;
    Easy easy;  ///< the first to go

    /// False when there is no memory for it.
    bool prepare() {
        easy.reset(curl_easy_init());
        if (!easy) return false;
        for (const std::string& header : request.headers)
            if (!addHeader(header.c_str())) return false;
        // Else a server that does not know the question delays a large body by a second.
        if (!addHeader("Expect:")) return false;
        return set(CURLOPT_URL, request.address.c_str()) &&
               set(CURLOPT_PROTOCOLS_STR, "http,https") && set(CURLOPT_POST, 1L) &&
               set(CURLOPT_POSTFIELDS, request.body.data()) &&
               set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size())) &&
               set(CURLOPT_HTTPHEADER, headers.get()) &&
               set(CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count())) &&
               set(CURLOPT_NOSIGNAL, 1L) &&
               // The end of the client does not wait for a name server.
               set(CURLOPT_QUICK_EXIT, 1L) && set(CURLOPT_WRITEFUNCTION, dropBytes) &&
               set(CURLOPT_ERRORBUFFER, error.data()) && set(CURLOPT_PRIVATE, this);
    }

    void complete(CURLcode code) {
        HttpResult result;
        curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &result.status);
        if (code != CURLE_OK) result.error = error[0] ? error.data() : curl_easy_strerror(code);
        completion(result);
    }

private:
    bool addHeader(const char* header) {
        curl_slist* const longer = curl_slist_append(headers.get(), header);
        if (!longer) return false;
        (void)headers.release();
        headers.reset(longer);
        return true;
    }
    template <class Value>
    bool set(CURLoption option, Value value) {
        return curl_easy_setopt(easy.get(), option, value) == CURLE_OK;
    }
};

using Transfers = std::vector<std::unique_ptr<Transfer>>;

}  // namespace

/// The thread and its requests.
class CurlHttpClient::Worker {
public:
    /// Throws when the system has no thread or memory left.
    Worker() : multi_(curl_multi_init()) {
        if (!multi_) throw std::bad_alloc();
        thread_ = std::thread([this] { run(); });
    }
    ~Worker() { stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    bool add(std::unique_ptr<Transfer> transfer) {
        const std::lock_guard lock(mutex_);
        if (stopping_) return false;
        incoming_.push_back(std::move(transfer));
        curl_multi_wakeup(multi_.get());
        return true;
    }

    /// Ends the requests under way and then the thread.
    void stop() {
        const std::lock_guard onlyOne(stopMutex_);
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
            curl_multi_wakeup(multi_.get());
        }
        if (thread_.joinable()) thread_.join();
    }

private:
    void run() {
        while (takeIncoming()) {
            int running = 0;
            curl_multi_perform(multi_.get(), &running);
            int left = 0;
            while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left))
                if (message->msg == CURLMSG_DONE)
                    finish(message->easy_handle, message->data.result);
            constexpr int untilWokenMilliseconds = 60'000;
            curl_multi_poll(multi_.get(), nullptr, 0, untilWokenMilliseconds, nullptr);
        }
        while (!active_.empty()) finish(active_.back()->easy.get(), CURLE_ABORTED_BY_CALLBACK);
    }

    /// False when the thread is to end.
    bool takeIncoming() {
        Transfers taken;
        bool goOn = false;
        {
            const std::lock_guard lock(mutex_);
            taken.swap(incoming_);
            goOn = !stopping_;
        }
        for (auto& transfer : taken) {
            CURL* const easy = transfer->easy.get();
            active_.push_back(std::move(transfer));
            if (curl_multi_add_handle(multi_.get(), easy) != CURLM_OK)
                finish(easy, CURLE_FAILED_INIT);
        }
        return goOn;
    }

    void finish(CURL* easy, CURLcode code) {
        curl_multi_remove_handle(multi_.get(), easy);
        const auto found = std::find_if(active_.begin(), active_.end(), [easy](const auto& active) {
            return active->easy.get() == easy;
        });
        const std::unique_ptr<Transfer> transfer = std::move(*found);
        active_.erase(found);
        transfer->complete(code);
    }

    const Multi multi_;
    std::mutex mutex_;
    bool stopping_ = false;
    Transfers incoming_;
    Transfers active_;  ///< the thread's own
    std::mutex stopMutex_;
    std::thread thread_;
};

CurlHttpClient::CurlHttpClient() = default;

CurlHttpClient::~CurlHttpClient() {
    if (worker_) worker_->stop();
}

bool CurlHttpClient::post(HttpRequest request, Completion completion) {
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (ready != CURLE_OK || !isWebAddress(request.address)) return false;
    auto transfer = std::make_unique<Transfer>();
    transfer->request = std::move(request);
    transfer->completion = std::move(completion);
    if (!transfer->prepare()) return false;
    const std::lock_guard lock(mutex_);
    if (!worker_) {
        // A process that ends takes the encryption library down: no request may be left then.
        static auto* const workers = new std::vector<std::weak_ptr<Worker>>;
        static std::mutex workersMutex;
        static const int atEnd = std::atexit([] {
            const std::lock_guard all(workersMutex);
            for (const auto& each : *workers)
                if (const auto worker = each.lock()) worker->stop();
        });
        if (atEnd != 0) return false;
        try {
            worker_ = std::make_shared<Worker>();
        } catch (const std::system_error&) {
            return false;
        } catch (const std::bad_alloc&) {
            return false;
        }
        const std::lock_guard all(workersMutex);
        std::erase_if(*workers, [](const auto& each) { return each.expired(); });
        workers->push_back(worker_);
    }
    return worker_->add(std::move(transfer));
}

}  // namespace reelsweep
