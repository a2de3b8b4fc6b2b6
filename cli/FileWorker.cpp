#include "cli/FileWorker.h"

#include "cli/Application.h"
#include "cli/Interruption.h"
#include "cli/TidyFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace reelsweep {

namespace {

using Length = std::uint64_t;

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

template <class Number>
std::string_view bytesOf(const Number& number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

// The worker's side: standard error goes to memory, and from there into each result.
class WorkerProcess {
public:
    /// `report` is null where none was asked for.
    WorkerProcess(Application& application, const TidyPlan& plan, int channel, SpoolFile* report)
        : application_(application), plan_(plan), channel_(channel), report_(report) {}

    [[noreturn]] void serve(int number) {
        // Ctrl-C concerns the program that started this one, which then ends it.
        ::signal(SIGINT, SIG_IGN);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        // First: it closes a descriptor whose number must not have a new owner yet.
        application_.becomeWorker(number);
        said_ = ::memfd_create("reelsweep-said", MFD_CLOEXEC);
        if (said_ < 0 || ::dup2(said_, STDERR_FILENO) < 0) ::_exit(1);
        std::size_t file = 0;
        while (!Interruption::requested() && receive(file))
            if (!answer(resultOf(file))) break;
        application_.leave(ExitCode::done);
    }

private:
    bool receive(std::size_t& file) const {
        ssize_t size = 0;
        do size = ::recv(channel_, &file, sizeof file, MSG_WAITALL);
        while (size < 0 && errno == EINTR && !Interruption::requested());
        return size == static_cast<ssize_t>(sizeof file);
    }

    FileResult resultOf(std::size_t number) {
        TidyFile file(application_, plan_, plan_.files[number]);
        FileResult result;
        const auto broken = [&](const char* what) {
            result = {.code = application_.fail(
                          {FailureCode::internal, what, plan_.files[number].input})};
            ReportedDocument reported = file.reported();
            reported.errors = application_.messages();
            report(reported, nullptr, result);
        };
        try {
            result = FileResult::of(file, file.run());
            report(file.reported(), file.ledger(), result);
        } catch (const std::bad_alloc&) {
            broken("out of memory");
        } catch (const std::exception& error) {
            broken(error.what());
        }
        result.said = takeSaid();
        return result;
    }

    void report(const ReportedDocument& document, const ChangeLedger* ledger,
                FileResult& result) const {
        if (!report_) return;
        result.report.start = report_->size();
        writeReportPart(reportFormOf(plan_.report), document, ledger, *report_);
        result.report.size = report_->size() - result.report.start;
        result.report.error = report_->error();
    }

    std::string takeSaid() const {
        std::string text(static_cast<std::size_t>(::lseek(said_, 0, SEEK_END)), '\0');
        const ssize_t size = ::pread(said_, text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        ::lseek(said_, 0, SEEK_SET);
        if (::ftruncate(said_, 0) != 0) ::_exit(1);
        return text;
    }

    bool answer(const FileResult& result) const {
        const std::string text = result.text();
        const Length length = text.size();
        return writeAll(channel_, bytesOf(length)) && writeAll(channel_, text);
    }

    Application& application_;
    const TidyPlan& plan_;
    int channel_;
    SpoolFile* report_;
    int said_ = -1;
};

// What other workers talk through is none of this one's business: it would not see their end.
void closeAllBut(std::array<int, 3> kept) {
    std::sort(kept.begin(), kept.end());
    int next = STDERR_FILENO + 1;
    for (const int descriptor : kept) {
        if (descriptor < next) continue;
        if (descriptor > next)
            ::close_range(static_cast<unsigned>(next), static_cast<unsigned>(descriptor - 1), 0);
        next = descriptor + 1;
    }
    ::close_range(static_cast<unsigned>(next), ~0U, 0);
}

}  // namespace

Result<FileWorker> FileWorker::start(Application& application, const TidyPlan& plan, int number,
                                     int inherited) {
    std::array<int, 2> ends{};
    const auto failure = [] {
        return Failure{FailureCode::internal,
                       std::string("a process could not be started: ") + std::strerror(errno)};
    };
    std::shared_ptr<SpoolFile> report;
    if (!plan.report.empty()) {
        Result<SpoolFile> spool = SpoolFile::create();
        if (!spool) return spool.failure();
        report = std::make_shared<SpoolFile>(std::move(*spool));
    }
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return failure();
    FileWorker worker(::fork(), ends[0], report);
    if (worker.process_ == 0) {
        closeAllBut({ends[1], inherited, report ? report->descriptor() : -1});
        WorkerProcess(application, plan, ends[1], report.get()).serve(number);
    }
    ::close(ends[1]);
    if (worker.process_ < 0) return failure();
    return worker;
}

FileWorker::FileWorker(FileWorker&& other) noexcept
    : process_(std::exchange(other.process_, -1)),
      channel_(std::move(other.channel_)),
      report_(std::move(other.report_)),
      file_(other.file_),
      received_(std::move(other.received_)),
      hasEnded_(other.hasEnded_) {}

FileWorker::~FileWorker() {
    channel_.reset();
    if (process_ > 0) ::waitpid(process_, nullptr, 0);
}

void FileWorker::give(std::size_t file) {
    file_ = file;
    received_.clear();
    // When it has ended, that is told as its result.
    writeAll(channel_.get(), bytesOf(file));
}

std::optional<FileResult> FileWorker::take() {
    std::array<char, 1 << 14> buffer;
    const ssize_t size = ::recv(channel_.get(), buffer.data(), buffer.size(), 0);
    if (size < 0 && errno == EINTR) return {};
    if (size <= 0) {
        hasEnded_ = true;
        file_.reset();
        return FileResult{.code = ExitCode::internalError};
    }
    received_.append(buffer.data(), static_cast<std::size_t>(size));
    Length length = 0;
    if (received_.size() < sizeof length) return {};
    std::memcpy(&length, received_.data(), sizeof length);
    if (received_.size() < sizeof length + length) return {};
    file_.reset();
    FileResult result = FileResult::fromText(received_.substr(sizeof length));
    result.report.spool = report_;
    return result;
}

void FileWorker::stop() const {
    if (isBusy() && process_ > 0) ::kill(process_, SIGTERM);
}

}  // namespace reelsweep
