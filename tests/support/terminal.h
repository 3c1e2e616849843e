#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

/// A terminal in which a program runs: its keys go in, what stands on its screen comes out. Understands the
/// few sequences that its description names, which the program finds as TERM; ends the program with itself.
class Terminal
{
public:
    struct Size
    {
        int columns = 80;
        int rows = 24;
    };

    /// Starts the program; throws std::runtime_error if there is no terminal for it.
    Terminal(const QStringList &command, const QProcessEnvironment &environment, Size size);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void type(const std::string &keys);
    void resize(Size size);
    /// Waits until the screen shows @p text; false if it does not in half a minute, or the program ends
    /// before.
    bool shows(const std::string &text);
    /// The same for any condition of the screen, e.g. that it shows no more.
    bool eventually(const std::function<bool()> &condition);
    /// The screen now, each row without the blanks at its end.
    std::vector<std::string> screen() const;
    /// The screen as one text, for messages.
    std::string picture() const;
    /// All that the program has written, sequences included.
    const std::string &written() const { return m_written; }
    /// Waits for the end of the program and returns its status; -1 for a signal, or if it does not end in
    /// half a minute.
    int exit_status();

private:
    bool receive(int milliseconds);
    void obey(char byte);
    void obeySequence(char last);
    void put(char byte);
    void newline();

    QTemporaryDir m_folder; ///< of the terminal's description
    int m_terminal = -1;
    pid_t m_process = -1;
    std::string m_written;
    std::string m_sequence; ///< what has come of one
    std::vector<std::string> m_rows;
    std::size_t m_row = 0;
    std::size_t m_column = 0;
};
