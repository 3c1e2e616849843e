#include "support/board_signals.h"
#include "support/event_counts.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using Lines = std::vector<std::string>;

TEST(TheDriversCallbacks, IgnoreWhatHasNoContextOrNoReport)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);
    const unsigned char erase[] = {0x00, 0x46};

    ZorvicHardware::pnpCallback(nullptr);
    ZorvicHardware::processPacketCallback(7, erase, 2, nullptr);
    ZorvicHardware::processPacketCallback(7, nullptr, 2, &hardware);
    ZorvicHardware::processPacketCallback(7, nullptr, 0, &hardware);
    ZorvicHardware::processPacketCallback(7, erase, 1, &hardware);
    ZorvicHardware::processPacketCallback(7, erase, 0, &hardware);
    ZorvicHardware::processPacketCallback(7, erase, 0x80000000U, &hardware);
    EXPECT_EQ(emitted.texts, Lines{});

    ZorvicHardware::processPacketCallback(-1, erase, 2, &hardware);
    EXPECT_EQ(emitted.texts, Lines{"eraseEvent()"}) << "whichever board it came from";
}

/// Memory whose last byte is the last one that may be read.
class EndOfAPage
{
public:
    EndOfAPage()
    {
        m_pages = mmap(nullptr, 2 * m_page_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m_pages == MAP_FAILED || mprotect(end(), m_page_size, PROT_NONE) != 0)
            throw std::runtime_error("no memory that may not be read");
    }
    ~EndOfAPage() { munmap(m_pages, 2 * m_page_size); }
    EndOfAPage(const EndOfAPage &) = delete;
    EndOfAPage &operator=(const EndOfAPage &) = delete;

    /// A copy of @p bytes up to the end.
    const unsigned char *holding(const QByteArray &bytes)
    {
        unsigned char *const start = end() - bytes.size();
        std::copy(bytes.begin(), bytes.end(), start);
        return start;
    }

private:
    unsigned char *end() const { return static_cast<unsigned char *>(m_pages) + m_page_size; }

    const std::size_t m_page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *m_pages = nullptr;
};

TEST(ReportsOfAnyKindAndLength, AreReadToTheirEndAndNoFurther)
{
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    EndOfAPage page;
    const QByteArray whole[] = {
        reports::pen({1, 2, 3, true, false, false}),
        reports::touch({{1, 2, 3, 4, true}, {5, 6, 7, 8, true}}),
        reports::erase({{1, 2, 3, 4, 5, true}}),
        reports::status({1, 2, 3, 4, 5, 6}),
    };

    for (const QByteArray &plain : whole) {
        for (const QByteArray &report : {plain, reports::prefixed(plain)}) {
            for (int length = 0; length <= report.size(); ++length)
                ZorvicHardware::processPacketCallback(7, page.holding(report.left(length)),
                                                      static_cast<unsigned int>(length), &hardware);
        }
    }

    EXPECT_EQ(emitted.pens, 2) << "those of full length, plain and prefixed";
    EXPECT_EQ(emitted.statuses, 2);
}

} // namespace
