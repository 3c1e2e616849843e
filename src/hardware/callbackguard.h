#pragma once

#include <chrono>

/// Lets callbacks of the driver in only while the object that is their context exists. Its state outlives
/// every object and the program's own static ones, so that a driver whose Detach does not end its callbacks
/// may call until the process is gone.
///
/// Owned by the context. A visit may be made on any thread and takes no lock.
class CallbackGuard
{
    struct Entry;
    struct Lobby;

public:
    /// From here on visits to @p context are let in.
    explicit CallbackGuard(void *context);
    /// Closes without a limit.
    ~CallbackGuard();
    CallbackGuard(const CallbackGuard &) = delete;
    CallbackGuard &operator=(const CallbackGuard &) = delete;

    /// From here on no visit is let in. Returns true once all have left but those of the calling thread,
    /// false if one is still inside after @p patience.
    bool close(std::chrono::milliseconds patience);
    /// The same, however long that takes.
    void close();

    /// A callback that is running.
    class Visit
    {
    public:
        explicit Visit(void *context);
        ~Visit();
        Visit(const Visit &) = delete;
        Visit &operator=(const Visit &) = delete;

        /// False if @p context is null or no more; then it must not be touched. True: it lives as long as
        /// this visit, unless the calling thread itself destroys it.
        explicit operator bool() const { return m_entry; }

    private:
        friend class CallbackGuard;

        Entry *m_entry;
        const Visit *const m_outer; ///< the visit of this thread that this one is inside of
    };

private:
    static Lobby &lobby();
    static Entry *newEntry();
    static Entry *enter(void *context);
    static void leave(Entry &entry);
    bool isLeft() const;

    Entry *const m_entry; ///< never null
};
