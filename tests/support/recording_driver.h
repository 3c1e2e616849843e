#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <QByteArray>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

/// Stands in for the driver library. While one lives, it answers the program's dlopen, dlsym, dlclose and
/// dlerror, and every export records its call and returns what the test wants. Without one, the real loader
/// answers. At most one may live at a time. Exports may be called on any thread, all else on the test's own.
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
        QByteArray bytes; ///< the bytes written to a board, or the whole buffer for the operating system
    };

    /// What EnumDeviceInfo reports for one index.
    struct Device
    {
        int kind = 1;
        int board = 0;
        QByteArray info;  ///< cut at the end of the record; followed by a NUL if there is room
        int answered = 1; ///< the result of the call
    };

    RecordingDriver();
    ~RecordingDriver();

    RecordingDriver(const RecordingDriver &) = delete;
    RecordingDriver &operator=(const RecordingDriver &) = delete;

    // The properties of the driver.
    bool opens = true;                        ///< false: the library cannot be opened
    std::set<std::string> missing;            ///< exports that the library lacks, without their prefix
    std::map<std::string, long long> answers; ///< results of exports; 0 for those not named
    std::map<std::string, std::function<void()>> hooks; ///< run inside an export, after its call is recorded
    std::vector<Device> devices; ///< GetDeviceCount returns their number unless answers names it

    // The record of what the program did.
    std::vector<Call> calls() const;
    std::vector<Call> calls(const std::string &name) const;
    /// The calls as one text each, e.g. "WritePacket(7, 4) 3a56"; addresses are left out.
    std::vector<std::string> lines() const;
    /// Forgets the calls so far.
    void clear();
    std::vector<std::string> loader_calls; ///< e.g. "dlopen(libzorvicboardex.so.1, RTLD_NOW)", "dlclose()"
    std::vector<std::string> resolved;     ///< the names that dlsym was asked for
    /// The bytes of each record passed to EnumDeviceInfo, as they came in.
    std::vector<QByteArray> records;
};
