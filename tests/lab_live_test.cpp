#include "recorder/live.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <QTemporaryDir>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using recorder::Live;

namespace {

/// A program that reads a recording live.
class Reader
{
public:
    explicit Reader(const std::string &name) : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.data(), name.size());
        m_isConnected = connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        fcntl(m_socket, F_SETFL, O_NONBLOCK);
    }
    ~Reader() { close(m_socket); }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    bool is_connected() const { return m_isConnected; }
    /// Takes in what has come. False once the recorder has closed the connection.
    bool receive()
    {
        std::array<char, 1 << 16> block{};
        ssize_t count = 0;
        while ((count = read(m_socket, block.data(), block.size())) > 0)
            m_text.append(block.data(), static_cast<std::size_t>(count));
        return count < 0 && errno == EAGAIN;
    }
    void send(const std::string &text) const
    {
        EXPECT_EQ(::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
    }
    const std::string &text() const { return m_text; }

private:
    int m_socket;
    bool m_isConnected = false;
    std::string m_text;
};

class LiveReaders : public testing::Test
{
protected:
    std::string path() const { return m_folder.filePath("recording.sock").toStdString(); }

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(LiveReaders, GetEveryLineUpToEight)
{
    Live live(path());
    std::list<Reader> readers;
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(readers.emplace_back(path()).is_connected());
    live.serve();
    std::string all;

    for (int i = 0; i < 1000; ++i) {
        const std::string line = "{\"line\":" + std::to_string(i) + "}\n";
        live.add(line, false);
        all += line;
    }
    live.serve();

    for (Reader &reader : readers) {
        EXPECT_TRUE(reader.receive());
        EXPECT_EQ(reader.text(), all);
    }
}

TEST_F(LiveReaders, AreRefusedFromTheNinthOnUntilOneGoes)
{
    Live live(path());
    std::list<Reader> readers;
    for (int i = 0; i < 9; ++i)
        readers.emplace_back(path());
    live.serve();

    EXPECT_FALSE(readers.back().receive());

    readers.pop_front();
    live.serve();
    Reader late(path());
    live.serve();
    live.add("{}\n", false);
    live.serve();
    EXPECT_TRUE(late.receive());
    EXPECT_EQ(late.text(), "{}\n");
}

TEST_F(LiveReaders, ThatComeLateGetWhatTheyNeedToUnderstandTheRest)
{
    Live live(path());
    live.add("{\"type\":\"scenario\"}\n", true);
    live.add("{\"type\":\"raw\"}\n", false);
    live.add("{\"type\":\"device\"}\n", true);
    Reader late(path());
    live.serve();
    live.add("{\"type\":\"end\"}\n", false);
    live.serve();

    late.receive();

    EXPECT_EQ(late.text(), "{\"type\":\"scenario\"}\n{\"type\":\"device\"}\n{\"type\":\"end\"}\n");
}

TEST_F(LiveReaders, ThatReadTooSlowlyAreToldHowManyLinesTheyHaveLost)
{
    Live live(path());
    Reader slow(path());
    Reader quick(path());
    live.serve();
    constexpr int count = 50'000;
    const std::string line = "{\"type\":\"raw\",\"hex\":\"" + std::string(60, '0') + "\"}\n";
    std::string all;

    for (int i = 0; i < count; ++i) {
        live.add(line, false);
        all += line;
        live.serve();
        quick.receive();
    }
    for (std::size_t before = 1; before != slow.text().size();) {
        before = slow.text().size();
        slow.receive();
        live.serve();
    }

    EXPECT_EQ(quick.text(), all);
    std::istringstream lines(slow.text());
    int received = 0;
    int lost = 0;
    for (std::string text; std::getline(lines, text);) {
        const auto json = nlohmann::json::parse(text);
        if (json["type"] == "lost")
            lost += json["count"].get<int>();
        else
            ++received;
    }
    EXPECT_GT(lost, 0);
    EXPECT_EQ(received + lost, count);
}

TEST_F(LiveReaders, MayWriteNotesAndWishToSaveTheRecording)
{
    Live live(path());
    Reader first(path());
    Reader second(path());
    first.send("{\"type\":\"note\",\"text\":\"here\"}\n{\"type\":\"keep\",\"file\":\"/a\"}\n{\"type\":\"no");
    second.send("{\"type\":\"keep\"}\n");

    const Live::Received received = live.serve();

    EXPECT_EQ(received.notes, std::vector<std::string>{"here"});
    ASSERT_EQ(received.wishes.size(), 2U);
    EXPECT_EQ(received.wishes[0].file, "/a");
    EXPECT_EQ(received.wishes[1].file, "");
    live.answer(received.wishes[1].reader, "{\"type\":\"kept\"}\n");
    live.serve();
    first.receive();
    second.receive();
    EXPECT_EQ(first.text(), "");
    EXPECT_EQ(second.text(), "{\"type\":\"kept\"}\n");
}

namespace {

struct Nonsense
{
    const char *name;
    std::string sent;
    bool is_refused;
};

class NonsenseFromAReader : public LiveReaders, public testing::WithParamInterface<Nonsense>
{
};

} // namespace

TEST_P(NonsenseFromAReader, DoesNoHarm)
{
    Live live(path());
    Reader reader(path());
    reader.send(GetParam().sent);

    const Live::Received received = live.serve();

    EXPECT_TRUE(received.notes.empty());
    EXPECT_TRUE(received.wishes.empty());
    EXPECT_EQ(reader.receive(), !GetParam().is_refused);
}

INSTANTIATE_TEST_SUITE_P(
    , NonsenseFromAReader,
    testing::Values(Nonsense{"NoJson", "hello\n", false}, Nonsense{"NoObject", "[1]\n", false},
                    Nonsense{"ATypeThatIsNoText", "{\"type\":5}\n", false},
                    Nonsense{"BytesThatAreNoText", "{\"type\":\"note\",\"text\":\"\xff\"}\n", false},
                    Nonsense{"AnUnknownType", "{\"type\":\"stop\"}\n", false},
                    Nonsense{"EmptyLines", "\n\n", false},
                    Nonsense{"ALineWithoutEnd", std::string(100'000, 'x'), true}),
    [](const auto &row) { return row.param.name; });

TEST_F(LiveReaders, HaveTheirNotesShortenedBetweenCharacters)
{
    Live live(path());
    Reader reader(path());
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += "\u00e4"; // two bytes
    reader.send(nlohmann::json{{"type", "note"}, {"text", text}}.dump() + "\n");

    const Live::Received received = live.serve();

    ASSERT_EQ(received.notes.size(), 1U);
    EXPECT_EQ(received.notes.front(), text.substr(0, 4094));
}

TEST_F(LiveReaders, AreOfTheSameUserOnly)
{
    const Live live(path());

    struct stat status = {};
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(LiveReaders, FindTheSocketInThePlaceOfOneThatNobodyListensAt)
{
    const int dead = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path().data(), path().size());
    ASSERT_EQ(bind(dead, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    close(dead);

    Live live(path());

    EXPECT_TRUE(Reader(path()).is_connected());
}

TEST_F(LiveReaders, KeepTheirSocketWhenAnotherRecordingWantsIt)
{
    Live live(path());
    testing::internal::CaptureStderr();
    {
        const Live other(path());
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              path() + ":0: no socket for live readers: Address already in use\n");

    Reader reader(path());
    live.serve();
    live.add("{}\n", false);
    live.serve();
    reader.receive();
    EXPECT_EQ(reader.text(), "{}\n");
}

TEST_F(LiveReaders, FindNoSocketBehindTheRecording)
{
    {
        const Live live(path());
    }

    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(LiveReaders, AreDoneWithoutIfTheNameIsTooLong)
{
    testing::internal::CaptureStderr();
    const Live live("/" + std::string(200, 'x'));

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "/" + std::string(200, 'x') + ":0: no socket for live readers: File name too long\n");
}
