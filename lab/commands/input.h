#pragma once

#include "capture/reader.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace lab {

/// A recording that a command reads: a file, or standard input for "-". Used on one thread.
class Input
{
public:
    /// Whether a progress bar may be drawn on standard error: if that is a terminal, the file's size is
    /// known, and a second was not enough.
    enum class Progress {
        drawn,
        unlessPrinting, ///< not if standard output is a terminal too, where the bar would be between the
                        ///< lines
        none
    };

    explicit Input(const std::string &name, Progress progress = Progress::drawn);
    ~Input();
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;

    /// Reads on to the next line. False at the end, and at the first fault.
    bool next();
    const capture::Line &line() const { return m_reader->line(); }

    /// Tells on standard error how the reading ended, if that was before the end of the file. False if the
    /// input is at fault; one that is cut off is not.
    bool tellEnd() const;
    bool isOpen() const { return m_file >= 0; }

private:
    static bool mayDraw(Progress progress);
    void drawProgress();
    void clearProgress() const;

    const std::string m_name;
    const bool m_mayDraw;
    std::string m_refusal; ///< why it could not be opened
    int m_file = -1;
    std::int64_t m_size = 0; ///< bytes; 0 if it is not known
    std::unique_ptr<capture::Reader> m_reader;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_nextProgress;
    int m_linesUntilLook = 0;
    bool m_hasProgress = false;
};

/// For a command that writes to @p output, "-" for standard output, while it reads.
inline Input::Progress progressFor(const std::string &output)
{
    return output == "-" ? Input::Progress::unlessPrinting : Input::Progress::drawn;
}

} // namespace lab
