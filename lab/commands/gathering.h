#pragma once

#include "commands/temporaryfolder.h"

#include "capture/privacy.h"
#include "probe/probe.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace lab {

/// A file of a bundle, or why there is none.
struct Piece
{
    std::string name;
    std::string what;    ///< is in it, in a few words
    std::string failure; ///< one line; empty if the file is there
    std::int64_t size = 0;
};

/// Collects what a bundle holds, as files in a folder of its own. Each step stands alone: what fails is a
/// piece without a file. Used on one thread.
class Gathering
{
public:
    /// @p identify: whether home folders, host and serial numbers stay in.
    Gathering(probe::Wish wish, bool identify);

    /// Takes every step. @p recording: one to put in; empty for what a rolling recording has kept. @p
    /// onListen is called when somebody should touch the board.
    void gather(const std::string &recording, const std::function<void()> &onListen);
    const std::vector<Piece> &pieces() const { return m_pieces; }
    /// The file of a piece that has one.
    std::string pathOf(const Piece &piece) const { return m_folder.path() + "/" + piece.name; }

private:
    /// Adds a text, masked.
    void add(const std::string &name, const std::string &what, const std::string &text);
    void addFailure(const std::string &name, const std::string &what, const std::string &failure);
    /// Adds a file that a step has written as it is.
    void addWritten(const std::string &name, const std::string &what);
    void addProbe(const std::function<void()> &onListen);
    void addVersions();
    void addScreens();
    void addLocale();
    void addLoader();
    void addRecording(const std::string &recording);
    void addReports();
    void addContents();
    bool runSelf(std::vector<std::string> arguments, const std::string &name, const std::string &what);

    const probe::Wish m_wish;
    const bool m_identify;
    const capture::Names m_names;
    const TemporaryFolder m_folder;  ///< what becomes the bundle
    const TemporaryFolder m_private; ///< what does not
    std::vector<Piece> m_pieces;
};

} // namespace lab
