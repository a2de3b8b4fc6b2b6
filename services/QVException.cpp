#include "services/QVException.h"

#include "base/Format.h"
#include "services/QVLog.h"

#include <cstdlib>
#include <memory>
#include <string_view>
#include <typeinfo>

#include <cxxabi.h>

namespace reelsweep {

namespace {

std::string nameOf(const std::exception& exception) {
    if (const auto* named = dynamic_cast<const NamedException*>(&exception)) return named->name();
    const char* const mangled = typeid(exception).name();
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return name ? name.get() : mangled;
}

std::terminate_handler previousHandler = nullptr;

[[noreturn]] void terminateAfterLogging() {
    uncaughtExceptionHandler();
    if (previousHandler) previousHandler();
    std::abort();
}

}  // namespace

std::string QVException::logException(const std::exception& exception, const char* method) {
    std::string text =
        formatText("Exception in %s. %@ - %@.", method, nameOf(exception), exception.what());
    QVLog::appendLogAndPrint("%@", text);
    return text;
}

bool QVException::didTimeout(const std::exception& exception) {
    return nameOf(exception) == "NSPortTimeoutException";
}

void uncaughtExceptionHandler() {
    try {
        if (const std::exception_ptr current = std::current_exception())
            std::rethrow_exception(current);
    } catch (const std::exception& exception) {
        QVLog::appendLogAndPrint("%@", exception.what());
    } catch (...) {
        QVLog::appendLogAndPrint("Unknown exception");
    }
    QVLog::finishWriting();
}

void installUncaughtExceptionHandler() {
    static const bool installed = [] {
        previousHandler = std::set_terminate(terminateAfterLogging);
        return true;
    }();
    (void)installed;
}

}  // namespace reelsweep
