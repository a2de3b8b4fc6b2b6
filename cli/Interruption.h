// Interruption: Ctrl-C and the request to terminate.
//
// While nothing has been begun that would need tidying up, either ends the program at once. Inside
// a Deferred scope the first one is only noted, and the work in hand is expected to stop by itself;
// a second one ends the program at once all the same.
// Thread rule: install on the main thread; requested from any thread.
#pragma once

namespace reelsweep {

class QueueMainThread;

class Interruption {
public:
    /// Takes over SIGINT and SIGTERM; each wakes the main thread. Failing writes (a closed pipe, a
    /// file size limit) become errors of the write instead of signals. The queue must live as long
    /// as the process.
    static void install(QueueMainThread& mainThread);
    /// True once the user asked to stop.
    static bool requested();
    /// Whether a progress line stands on the terminal, to be erased when the program ends at once.
    static void setProgressLineShown(bool shown);

    class Deferred {
    public:
        Deferred();
        ~Deferred();
        Deferred(const Deferred&) = delete;
        Deferred& operator=(const Deferred&) = delete;
    };
};

}  // namespace reelsweep
