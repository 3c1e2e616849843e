#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <QByteArray>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

/// Stands in for the driver library: while one lives, the program's dlopen, dlsym, dlclose and dlerror are
/// answered here, and every export writes down its call and returns what the test wants. Without one the real
/// loader answers. At most one at a time; calls may come from any thread, all else from the test's own.
class RecordingDriver
{
public:
    struct Argument
    {
        long long value = 0; ///< a number, or an address
        bool address = false;
    };

    struct Call
    {
        std::string name; ///< the export without its prefix
        std::vector<Argument> arguments;
        QByteArray bytes; ///< what is written to a board, or the whole buffer for the operating system
    };

    /// What EnumDeviceInfo tells about one index.
    struct Device
    {
        int kind = 1;
        int board = 0;
        QByteArray info;      ///< cut where the record ends; followed by a NUL where there is room
        bool answered = true; ///< the result of the call
    };

    RecordingDriver();
    ~RecordingDriver();

    RecordingDriver(const RecordingDriver &) = delete;
    RecordingDriver &operator=(const RecordingDriver &) = delete;

    // What the driver is like.
    bool opens = true;                        ///< false: the library cannot be opened
    std::set<std::string> missing;            ///< exports that the library lacks, without their prefix
    std::map<std::string, long long> answers; ///< results of exports; 0 where none is named
    std::map<std::string, std::function<void()>> hooks; ///< run inside an export, after its call is recorded
    std::vector<Device> devices; ///< GetDeviceCount counts them where answers does not tell

    // What the program did.
    std::vector<Call> calls() const;
    std::vector<Call> calls(const std::string &name) const;
    /// The calls as one text each, e.g. "WritePacket(7, 4) 3a56"; addresses are left out.
    std::vector<std::string> lines() const;
    /// Forgets the calls so far.
    void clear();
    std::vector<std::string> loader_calls; ///< e.g. "dlopen(libzorvicboardex.so.1, RTLD_NOW)", "dlclose()"
    std::vector<std::string> resolved;     ///< the names that dlsym was asked for
    /// Of each record that was passed to EnumDeviceInfo: the bytes as they came in.
    std::vector<QByteArray> records;
};
