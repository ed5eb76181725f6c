#pragma once
// SongLoader: runs SoundEngine::prepareSong on a worker thread of its own, so that opening a
// slow stream, unpacking a large gzip song or running the module ripper never blocks the GUI
// thread. One preparation runs at a time; a newer request supersedes every older one: a request
// still waiting is dropped, the one in flight is cancelled (its stream connect, ripper run or
// gzip unpack ends early) and whatever it made is released, never handed out.
//
// When a preparation finishes, the loader keeps it (at most one) and calls the `ready` callback
// on the worker thread; the owner then takes it on its own thread (for the player: a queued call
// to the GUI thread). Tools and tests may wait for a ticket instead.
//
// Threading: construct, request, take, waitFor, cancel, busy and destroy on the owner's (GUI)
// thread; the worker only calls prepareSong and `ready`. The engine must outlive the loader,
// and the loader must go before the engine's System is shut down (it releases what it holds).
// Destruction cancels the preparation in flight and waits for it: about as long as the slowest
// step takes to notice (a network call's poll, the ripper's 20 ms wait, one 1 MiB gzip chunk).

#include "PreparedSong.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

class SoundEngine;

class SongLoader {
public:
    using Ticket = uint64_t; // 1, 2, ... in request order; 0 is never a ticket

    struct Finished {
        Ticket ticket = 0;
        PreparedSong song;
    };

    // `ready` (may be empty) is called on the worker thread each time a preparation is kept.
    SongLoader(const SoundEngine& engine, std::function<void()> ready);
    ~SongLoader();
    SongLoader(const SongLoader&) = delete;
    SongLoader& operator=(const SongLoader&) = delete;

    // Asks for `path` with `options` (their cancel flag is replaced by the loader's own),
    // superseding everything asked before. Returns the request's ticket.
    Ticket request(const std::string& path, const SongOptions& options);
    // The finished preparation of the latest request, once; nothing while it is still running
    // or after it was taken.
    std::optional<Finished> take();
    // Blocks until the preparation of `ticket` has finished and takes it; nothing when `ticket`
    // is not the latest request (it was superseded) or was already taken.
    std::optional<Finished> waitFor(Ticket ticket);
    // Drops every request: the waiting one, the one in flight (cancelled) and a finished one.
    void cancel();
    // True while a request waits or runs.
    bool busy() const;

private:
    struct Request {
        Ticket ticket = 0;
        std::string path;
        SongOptions options;
    };

    void run();
    // Under mutex_: everything not belonging to the latest request goes into `discard`, which
    // the caller destroys after unlocking (releasing a sound takes the System's own lock).
    void supersede(std::optional<Finished>* discard);

    const SoundEngine& engine_;
    std::function<void()> ready_;
    mutable std::mutex mutex_;
    std::condition_variable wake_; // the worker: a request came or the loader stops
    std::condition_variable done_; // waitFor: a preparation finished or was dropped
    std::optional<Request> waiting_;
    Ticket latest_ = 0;
    Ticket running_ = 0; // the ticket in flight, 0 for none
    std::shared_ptr<std::atomic<bool>> runningCancel_;
    std::optional<Finished> finished_;
    bool stopping_ = false;
    std::thread worker_; // last: starts once everything above exists
};
