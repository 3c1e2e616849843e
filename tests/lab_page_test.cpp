#include "support/lab.h"
#include "support/synthetic.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace lab_testing;

// The pages as a browser sees them: HTML Tidy judges the markup, and Chromium lays them out and prints them.

namespace {

constexpr int patience = 120'000; // milliseconds for a browser on a busy machine

/// What a program printed, both streams together.
std::string run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(patience)) << program.toStdString();
    return process.readAll().toStdString();
}

class Page : public testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString write(const QString &name, const std::string &text) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.data(), qint64(text.size()));
        return file.fileName();
    }
    std::string read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "missing";
    }
    /// A page of each kind.
    QStringList pages() const
    {
        const QString a = write("a.jsonl", synthetic::cleanRecording(1).text());
        const QString b = write("b.jsonl", synthetic::cleanRecording(2).text());
        const QString empty = write("empty.jsonl", "{\"type\":\"scenario\",\"version\":2}\n");
        const QStringList graded{"--profile", "board", "--size", "1660x934"};
        EXPECT_EQ(lab(QStringList{"report", a, "-o", path("one.html")} + graded).status, 0);
        EXPECT_EQ(lab(QStringList{"report", a, "-o", path("plain.html")}).status, 0);
        EXPECT_EQ(lab(QStringList{"report", a, b, "-o", path("two.html")} + graded).status, 0);
        EXPECT_EQ(lab(QStringList{"report", a, b, a, "-o", path("many.html")} + graded).status, 0);
        EXPECT_EQ(lab(QStringList{"report", empty, "-o", path("empty.html")} + graded).status, 0);
        return {"one.html", "plain.html", "two.html", "many.html", "empty.html"};
    }
    QStringList chromium(const QStringList &arguments) const
    {
        return QStringList{"--headless", "--no-sandbox", "--disable-gpu", "--allow-file-access-from-files",
                           "--user-data-dir=" + path("profile")}
        + arguments;
    }

private:
    QTemporaryDir m_folder;
};

TEST_F(Page, IsValidHtml)
{
    for (const QString &name : pages()) {
        const std::string complaints = run("tidy", {"-quiet", "-errors", "-utf8", path(name)});
        EXPECT_EQ(complaints, "") << name.toStdString();
    }
}

TEST_F(Page, NeedsNoOtherFile)
{
    for (const QString &name : pages()) {
        const std::string page = read(name);
        for (const char *const reference : {"src=", "href=", "url(", "@import", "<script", "<link", "<iframe",
                                            "<object", "http:", "https:"})
            EXPECT_EQ(page.find(reference), std::string::npos) << name.toStdString() << ": " << reference;
    }
}

TEST_F(Page, HasAnAlternativeTextForEveryPicture)
{
    pages();
    const QString page = QString::fromStdString(read("one.html"));
    int pictures = 0;
    auto matches = QRegularExpression("<svg[^>]*>").globalMatch(page);
    for (; matches.hasNext(); ++pictures) {
        const QString tag = matches.next().captured();
        EXPECT_TRUE(tag.contains("role=\"img\"")) << tag.toStdString();
        EXPECT_TRUE(QRegularExpression("aria-label=\"[^\"]{20,}\"").match(tag).hasMatch())
            << tag.toStdString();
    }
    EXPECT_EQ(pictures, 5) << "intervals, strokes, coverage, jitter and linearity";
}

TEST_F(Page, LetsNoTextOfARecordingBecomeMarkup)
{
    const std::string evil = R"(</title><script>alert(1)</script><img src=x onerror=alert(1)>&amp;\"')";
    write("evil.jsonl",
          R"({"type":"scenario","version":2,"recorder":")" + evil + R"(","program":{"name":")" + evil
              + R"(","version":"1"},"driver":{"path":")" + evil + R"("},"kernel":"\u0000\u001b[2J"})" + "\n"
              + R"({"type":"device","kind":1,"board":1,"info":")" + evil + R"(<b>"})" + "\n"
              + R"({"type":"note","at":1,"text":")" + evil + R"("})" + "\n");
    ASSERT_EQ(lab({"report", path("evil.jsonl"), "-o", path("evil.html")}).status, 0);
    const std::string page = read("evil.html");
    EXPECT_EQ(page.find("<script"), std::string::npos);
    EXPECT_EQ(page.find("<img"), std::string::npos);
    EXPECT_EQ(page.find('\x1b'), std::string::npos);
    EXPECT_EQ(page.find('\0'), std::string::npos);
    EXPECT_NE(page.find("&lt;script&gt;alert(1)"), std::string::npos);
    EXPECT_EQ(run("tidy", {"-quiet", "-errors", "-utf8", path("evil.html")}), "");
}

TEST_F(Page, FitsAPhoneATabletAndAScreen)
{
    // A page that is wider than its window would have to be scrolled sideways.
    std::string frames = "<!DOCTYPE html><title>widths</title><body>";
    for (const QString &name : pages()) {
        for (const int width : {360, 768, 1400})
            frames += "<iframe src=\"" + name.toStdString() + "\" width=" + std::to_string(width)
                + " height=600></iframe>";
    }
    frames +=
        "<script>onload = () => { document.body.innerText = [...document.querySelectorAll('iframe')].map(f =>"
        " f.getAttribute('src') + ' ' + f.width + ': ' + (f.contentDocument.documentElement.scrollWidth"
        " - f.contentDocument.documentElement.clientWidth)).join(';'); }</script>";
    write("frames.html", frames);
    const QString dump = QString::fromStdString(
        run("chromium",
            chromium({"--dump-dom", "--virtual-time-budget=10000", "file://" + path("frames.html")})));
    const QString body = dump.section("<body>", 1).section("</body>", 0, 0);
    const QStringList widths = body.split(';');
    EXPECT_EQ(widths.size(), 15) << dump.toStdString();
    for (const QString &width : widths)
        EXPECT_TRUE(width.endsWith(": 0")) << width.toStdString();
}

TEST_F(Page, PrintsOnA4)
{
    pages();
    run("chromium", chromium({"--print-to-pdf=" + path("one.pdf"), "file://" + path("one.html")}));
    const std::string facts = run("pdfinfo", {path("one.pdf")});
    EXPECT_NE(facts.find("(A4)"), std::string::npos) << facts;
    const std::string text = run("pdftotext", {"-layout", path("one.pdf"), "-"});
    for (const char *const expected : {"Board report", "PASS", "Report rate", "Hand-backs"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected;
}

} // namespace
