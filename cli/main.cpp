#include "cli/Application.h"
#include "cli/Commands.h"
#include "xml/TreeMemory.h"

#include <cstddef>
#include <exception>
#include <new>
#include <string>

using reelsweep::ExitCode;

int main(int argc, char** argv) {
    reelsweep::useTreeMemory();
    reelsweep::Application application;
    ExitCode code = ExitCode::internalError;
    try {
        const auto count = static_cast<std::size_t>(argc > 0 ? argc - 1 : 0);
        code = reelsweep::runCommandLine(application, {argv + (argc > 0 ? 1 : 0), count});
    } catch (const std::bad_alloc&) {
        application.terminal().error("out of memory");
    } catch (const std::exception& error) {
        application.terminal().error(std::string("internal error: ") + error.what());
    } catch (...) {
        application.terminal().error("internal error");
    }
    application.leave(code);
}
