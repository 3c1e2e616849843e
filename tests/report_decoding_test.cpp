#include "support/board_signals.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;

QByteArray hex(const char *bytes)
{
    return QByteArray::fromHex(bytes);
}

/// Decodes reports as the board's data sheet describes, with plain arithmetic.
namespace model {

int word(const Bytes &report, std::size_t at)
{
    return report[at] + 256 * report[at + 1];
}

std::string place(const Bytes &report, std::size_t at)
{
    return " at " + std::to_string(word(report, at)) + ", " + std::to_string(word(report, at + 2));
}

std::string pen(const Bytes &report)
{
    const int state = report[7];
    std::string text = "pen " + std::to_string(state / 8 % 16) + place(report, 3);
    text += state % 2 ? ", tip" : "";
    text += state / 2 % 2 ? ", button" : "";
    text += state / 4 % 2 ? ", bit 2" : "";
    return text;
}

std::string contact(const char *kind, const Bytes &report, std::size_t at, const std::string &size)
{
    return kind + std::to_string(report[at] % 128) + place(report, at + 1) + size
        + (report[at] >= 128 ? ", down" : "");
}

std::string touches(const Bytes &report)
{
    std::string text;
    for (std::size_t at = 2; at + 7 <= report.size(); at += 7)
        text += (at > 2 ? "; " : "")
            + contact("touch ", report, at, ", extent " + std::to_string(word(report, at + 5)));
    return text;
}

std::string erasers(const Bytes &report)
{
    std::string text;
    for (std::size_t at = 2; at + 9 <= report.size(); at += 9)
        text += (at > 2 ? "; " : "")
            + contact("eraser ", report, at,
                      ", size " + std::to_string(word(report, at + 5)) + ", "
                          + std::to_string(word(report, at + 7)));
    return text;
}

std::string status(const Bytes &report)
{
    std::string text = "status";
    for (std::size_t at = 2; at < 8; ++at)
        text += " " + std::to_string(report[at] < 128 ? report[at] : report[at] - 256);
    return text;
}

/// The signals that must follow a report if no widget claims contacts.
Lines signals_of(Bytes report)
{
    if (report.size() >= 3 && report[1] == 'A')
        report.erase(report.begin(), report.begin() + 3);
    if (report.size() < 2)
        return {};
    if (report.size() == 8 && report[0] == 8 && report[1] == 0x21)
        return {"penEvent(" + pen(report) + ")"};
    if (report[1] == 0x45)
        return report.size() < 9 ? Lines() : Lines{"touchEvent(" + touches(report) + ")"};
    if (report[1] == 0x46)
        return {"eraseEvent(" + erasers(report) + ")"};
    if (report.size() == 8 && report[1] == 0xA5)
        return {"touchStatus(0, " + status(report) + ")"};
    return {};
}

} // namespace model

QByteArray array_of(const Bytes &report)
{
    return {reinterpret_cast<const char *>(report.data()), static_cast<int>(report.size())};
}

/// Delivers the report in a buffer that ends with it, so that reading past the end is detected.
Lines signals_after(const Bytes &report)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);
    Bytes buffer(report);
    buffer.shrink_to_fit();
    const unsigned char none = 0;
    ZorvicHardware::processPacketCallback(1, buffer.empty() ? &none : buffer.data(),
                                          static_cast<unsigned int>(buffer.size()), &hardware);
    return emitted.texts;
}

Lines signals_after(const QByteArray &report)
{
    return signals_after(Bytes(report.begin(), report.end()));
}

template <typename Row> std::string row_name(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

struct KindRow
{
    const char *name;
    QByteArray report;
    bool pen;
    bool touch;
    bool erase;
    bool status;
};

class TheKindOfAReport : public testing::TestWithParam<KindRow>
{
};

TEST_P(TheKindOfAReport, FollowsFromItsSecondByteAndForSomeFromTheSize)
{
    const KindRow &row = GetParam();

    EXPECT_EQ(ZorvicHardware::isPenPacket(row.report), row.pen);
    EXPECT_EQ(ZorvicHardware::isTouchPacket(row.report), row.touch);
    EXPECT_EQ(ZorvicHardware::isErasePacket(row.report), row.erase);
    EXPECT_EQ(ZorvicHardware::isTouchStatusPacket(row.report), row.status);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, TheKindOfAReport,
    testing::Values(KindRow{"Nothing", {}, false, false, false, false},
                    KindRow{"OneByteThatIsAKind", hex("45"), false, false, false, false},
                    KindRow{"OneByteOfAnEraser", hex("46"), false, false, false, false},
                    KindRow{"Pen", hex("0821003412785603"), true, false, false, false},
                    KindRow{"PenWithZeros", hex("0821000000000000"), true, false, false, false},
                    KindRow{"PenOfSevenBytes", hex("08210034127856"), false, false, false, false},
                    KindRow{"PenOfNineBytes", hex("082100341278560300"), false, false, false, false},
                    KindRow{"PenWithAnotherIdentifier", hex("0921003412785603"), false, false, false, false},
                    KindRow{"PenWithAnotherIdentifierAndNineBytes", hex("092100341278560300"), false, false,
                            false, false},
                    KindRow{"PenIdentifierWithAnotherKind", hex("0822003412785603"), false, false, false,
                            false},
                    KindRow{"PenKindInTheFirstByte", hex("2108003412785603"), false, false, false, false},
                    KindRow{"TouchHeader", hex("0045"), false, true, false, false},
                    KindRow{"TouchWithAnyFirstByte", hex("ff45850102030405"), false, true, false, false},
                    KindRow{"TouchThatStartsLikeAPen", hex("0845003412785603"), false, true, false, false},
                    KindRow{"EraseHeader", hex("0046"), false, false, true, false},
                    KindRow{"EraseWithAnyFirstByte", hex("4546"), false, false, true, false},
                    KindRow{"Status", hex("00a5010203040506"), false, false, false, true},
                    KindRow{"StatusWithAnyFirstByte", hex("08a5010203040506"), false, false, false, true},
                    KindRow{"StatusOfSevenBytes", hex("00a50102030405"), false, false, false, false},
                    KindRow{"StatusOfNineBytes", hex("00a501020304050607"), false, false, false, false},
                    KindRow{"AnotherKind", hex("0047010203040506"), false, false, false, false}),
    row_name<KindRow>);

struct PenRow
{
    const char *name;
    QByteArray report;
    const char *text;
};

class APenReport : public testing::TestWithParam<PenRow>
{
};

TEST_P(APenReport, FillsEveryFieldOfTheRecord)
{
    for (const bool before : {false, true}) {
        ZorvicHardware::PenEvent event{99, -1, -1, before, before, before};

        ZorvicHardware::getPenData(GetParam().report, event);

        EXPECT_EQ(text_of(event), GetParam().text);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Pens, APenReport,
    testing::Values(PenRow{"OneWithTipAndButton", hex("082100341278560B"),
                           "pen 1 at 4660, 22136, tip, button"},
                    PenRow{"Zeros", hex("0821000000000000"), "pen 0 at 0, 0"},
                    PenRow{"TipAlone", hex("0821000000000001"), "pen 0 at 0, 0, tip"},
                    PenRow{"ButtonAlone", hex("0821000000000002"), "pen 0 at 0, 0, button"},
                    PenRow{"Bit2Alone", hex("0821000000000004"), "pen 0 at 0, 0, bit 2"},
                    PenRow{"HighestPen", hex("0821000000000078"), "pen 15 at 0, 0"},
                    PenRow{"Bit7IsNotRead", hex("0821000000000080"), "pen 0 at 0, 0"},
                    PenRow{"LowByteFirst", hex("0821000100020000"), "pen 0 at 1, 2"},
                    PenRow{"PositionsAreNeverNegative", hex("082100ff80ffff00"), "pen 0 at 33023, 65535"},
                    PenRow{"Byte2IsNotRead", hex("0821ff0000000000"), "pen 0 at 0, 0"}),
    row_name<PenRow>);

TEST(AReportOfOneByte, HasNoKindWhateverComesBehindIt)
{
    const QByteArray one_byte = QByteArray::fromRawData("\x01\x45", 1);

    EXPECT_FALSE(ZorvicHardware::isTouchPacket(one_byte));
}

TEST(APenReportOfFewerThanEightBytes, LeavesTheRecordUntouched)
{
    for (int size = 0; size < 8; ++size) {
        SCOPED_TRACE(size);
        ZorvicHardware::PenEvent event{9, 10, 11, true, false, true};

        ZorvicHardware::getPenData(hex("082100341278560B").left(size), event);

        EXPECT_EQ(text_of(event), "pen 9 at 10, 11, tip, bit 2");
    }
}

struct ListRow
{
    const char *name;
    QByteArray report;
    const char *text;
};

class ATouchReport : public testing::TestWithParam<ListRow>
{
};

TEST_P(ATouchReport, AppendsEveryWholeContactInItsOrder)
{
    ZorvicHardware::TouchEvent contacts{{3, 4, 5, 6, true}};

    ZorvicHardware::getTouchData(GetParam().report, contacts);

    EXPECT_EQ(text_of(contacts), std::string("touch 3 at 4, 5, extent 6, down") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Touches, ATouchReport,
    testing::Values(
        ListRow{"Nothing", {}, ""}, ListRow{"OneByte", hex("00"), ""}, ListRow{"Header", hex("0045"), ""},
        ListRow{"EightBytes", hex("0045850102030405"), ""},
        ListRow{"NineBytes", hex("004585341278560100"), "; touch 5 at 4660, 22136, extent 1, down"},
        ListRow{"FifteenBytes", hex("004585341278560100 067856341202"),
                "; touch 5 at 4660, 22136, extent 1, down"},
        ListRow{"SixteenBytes", hex("004585341278560100 06785634120200"),
                "; touch 5 at 4660, 22136, extent 1, down; touch 6 at 22136, 4660, extent 2"},
        ListRow{"Lifted", hex("004505000000000000"), "; touch 5 at 0, 0, extent 0"},
        ListRow{"HighestOfAll", hex("0045ffffffffffffff"), "; touch 127 at 65535, 65535, extent 65535, down"},
        ListRow{"TheKindIsNotChecked", hex("000085000000000000"), "; touch 5 at 0, 0, extent 0, down"},
        ListRow{"OneIdTwice", hex("004581010000000000 01020000000000"),
                "; touch 1 at 1, 0, extent 0, down; touch 1 at 2, 0, extent 0"}),
    row_name<ListRow>);

class AnEraseReport : public testing::TestWithParam<ListRow>
{
};

TEST_P(AnEraseReport, AppendsEveryWholeContactInItsOrder)
{
    ZorvicHardware::EraseEvent contacts{{3, 4, 5, 6, 7, true}};

    ZorvicHardware::getEraseData(GetParam().report, contacts);

    EXPECT_EQ(text_of(contacts), std::string("eraser 3 at 4, 5, size 6, 7, down") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Erasers, AnEraseReport,
    testing::Values(
        ListRow{"Nothing", {}, ""}, ListRow{"OneByte", hex("00"), ""}, ListRow{"Header", hex("0046"), ""},
        ListRow{"TenBytes", hex("00468501020304050607"), ""},
        ListRow{"ElevenBytes", hex("0046853412785601000200"), "; eraser 5 at 4660, 22136, size 1, 2, down"},
        ListRow{"NineteenBytes", hex("0046853412785601000200 0678563412020003"),
                "; eraser 5 at 4660, 22136, size 1, 2, down"},
        ListRow{"TwentyBytes", hex("0046853412785601000200 067856341202000300"),
                "; eraser 5 at 4660, 22136, size 1, 2, down; eraser 6 at 22136, 4660, size 2, 3"},
        ListRow{"HighestOfAll", hex("0046ffffffffffffffffff"),
                "; eraser 127 at 65535, 65535, size 65535, 65535, down"},
        ListRow{"TheKindIsNotChecked", hex("0000850000000000000000"), "; eraser 5 at 0, 0, size 0, 0, down"}),
    row_name<ListRow>);

TEST(AStatusReport, CarriesSixSignedBytes)
{
    ZorvicHardware::TouchStatus status;

    ZorvicHardware::getTouchStatusData(hex("00a5ff807f010002"), status);

    EXPECT_EQ(text_of(status), "status -1 -128 127 1 0 2");
}

TEST(ABufferThatIsNoStatusReport, LeavesTheRecordUntouched)
{
    for (const char *report : {"", "a5", "00a50102030405", "00a501020304050607", "0045010203040506"}) {
        SCOPED_TRACE(report);
        ZorvicHardware::TouchStatus status{11, 12, 13, 14, 15, 16};

        ZorvicHardware::getTouchStatusData(hex(report), status);

        EXPECT_EQ(text_of(status), "status 11 12 13 14 15 16");
    }
}

struct DeliveryRow
{
    const char *name;
    QByteArray buffer;
    Lines emitted;
};

class ADeliveredBuffer : public testing::TestWithParam<DeliveryRow>
{
};

TEST_P(ADeliveredBuffer, IsEmittedAsItsKindOrDropped)
{
    EXPECT_EQ(signals_after(GetParam().buffer), GetParam().emitted);
}

INSTANTIATE_TEST_SUITE_P(
    Deliveries, ADeliveredBuffer,
    testing::Values(
        DeliveryRow{"Nothing", {}, {}}, DeliveryRow{"OneByte", hex("45"), {}},
        DeliveryRow{"Pen", hex("082100341278560B"), {"penEvent(pen 1 at 4660, 22136, tip, button)"}},
        DeliveryRow{"NeitherPenNorAnythingElse", hex("092100341278560B00"), {}},
        DeliveryRow{"TouchWithoutContacts", hex("0045"), {}},
        DeliveryRow{"Touch", hex("004585010002000300"), {"touchEvent(touch 5 at 1, 2, extent 3, down)"}},
        DeliveryRow{"TouchOfAPensSize", hex("0845003412785603"), {}},
        DeliveryRow{"EraseWithoutContacts", hex("0046"), {"eraseEvent()"}},
        DeliveryRow{"Erase", hex("0046050100020003000400"), {"eraseEvent(eraser 5 at 1, 2, size 3, 4)"}},
        DeliveryRow{"Status", hex("00a5ff0102030405"), {"touchStatus(0, status -1 1 2 3 4 5)"}},
        DeliveryRow{"StatusOfNineBytes", hex("00a5ff010203040506"), {}},
        DeliveryRow{"AnotherKind", hex("0047ff010203040506"), {}},
        DeliveryRow{"TwoBytesThatLookLikeAPrefix", hex("0041"), {}},
        DeliveryRow{"PrefixAlone", hex("004100"), {}}, DeliveryRow{"PrefixAndOneByte", hex("00410045"), {}},
        DeliveryRow{
            "PrefixedPen", hex("ff41fe 082100341278560B"), {"penEvent(pen 1 at 4660, 22136, tip, button)"}},
        DeliveryRow{"PrefixedTouch",
                    hex("004100 004585010002000300"),
                    {"touchEvent(touch 5 at 1, 2, extent 3, down)"}},
        DeliveryRow{"PrefixedErase", hex("004100 0046"), {"eraseEvent()"}},
        DeliveryRow{
            "PrefixedStatus", hex("004100 00a5ff0102030405"), {"touchStatus(0, status -1 1 2 3 4 5)"}},
        DeliveryRow{"OnlyOnePrefixIsTakenOff", hex("004100 004100 0046"), {}}),
    row_name<DeliveryRow>);

TEST(AReportThatIsProcessedDirectly, KeepsItsFirstBytes)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.processPacket(hex("004100 0046"));
    hardware.processPacket(hex("0046"));

    EXPECT_EQ(emitted.texts, Lines{"eraseEvent()"});
}

struct RandomRow
{
    const char *name;
    int kind; ///< value of byte 1; -1 for any
    bool prefixed;
};

class RandomReports : public testing::TestWithParam<RandomRow>
{
protected:
    /// Checks random reports of every length up to 40 bytes, not counting the prefix, and many of the size
    /// that two kinds need.
    template <typename Check> void for_each_report(Check check)
    {
        for (int length = 0; length <= 40; ++length) {
            for (int i = 0; i < 250; ++i)
                ASSERT_NO_FATAL_FAILURE(check(next(length)));
        }
        for (int i = 0; i < 10'000; ++i)
            ASSERT_NO_FATAL_FAILURE(check(next(8)));
    }

private:
    Bytes next(int length)
    {
        const std::size_t start = GetParam().prefixed ? 3 : 0;
        Bytes report(start + static_cast<std::size_t>(length));
        for (unsigned char &byte : report)
            byte = static_cast<unsigned char>(m_byte(m_generator));
        if (GetParam().prefixed)
            report[1] = 'A';
        if (length > 1 && GetParam().kind >= 0)
            report[start + 1] = static_cast<unsigned char>(GetParam().kind);
        // A pen is also recognised by its first byte, so most reports have that.
        if (length > 0 && GetParam().kind == 0x21 && m_byte(m_generator) < 200)
            report[start] = 0x08;
        return report;
    }

    std::mt19937 m_generator{20240229};
    std::uniform_int_distribution<int> m_byte{0, 255};
};

TEST_P(RandomReports, AreEmittedAsTheDataSheetSays)
{
    for_each_report([](const Bytes &report) {
        ASSERT_EQ(signals_after(report), model::signals_of(report)) << array_of(report).toHex(' ').data();
    });
}

TEST_P(RandomReports, AreReadByEveryExtractorAsTheDataSheetSays)
{
    for_each_report([](const Bytes &bytes) {
        const QByteArray report = array_of(bytes);
        ZorvicHardware::PenEvent pen;
        ZorvicHardware::TouchEvent touches;
        ZorvicHardware::EraseEvent erasers;
        ZorvicHardware::TouchStatus status;

        ZorvicHardware::getPenData(report, pen);
        ZorvicHardware::getTouchData(report, touches);
        ZorvicHardware::getEraseData(report, erasers);
        ZorvicHardware::getTouchStatusData(report, status);

        SCOPED_TRACE(report.toHex(' ').data());
        ASSERT_EQ(text_of(pen), bytes.size() < 8 ? "pen 0 at 0, 0" : model::pen(bytes));
        ASSERT_EQ(text_of(touches), model::touches(bytes));
        ASSERT_EQ(text_of(erasers), model::erasers(bytes));
        const bool is_status = bytes.size() == 8 && bytes[1] == 0xA5;
        ASSERT_EQ(text_of(status), is_status ? model::status(bytes) : "status 0 0 0 0 0 0");
    });
}

INSTANTIATE_TEST_SUITE_P(
    Random, RandomReports,
    testing::Values(RandomRow{"Pens", 0x21, false}, RandomRow{"Touches", 0x45, false},
                    RandomRow{"Erasers", 0x46, false}, RandomRow{"Statuses", 0xA5, false},
                    RandomRow{"OfAnyKind", -1, false}, RandomRow{"PrefixedPens", 0x21, true},
                    RandomRow{"PrefixedTouches", 0x45, true}, RandomRow{"PrefixedErasers", 0x46, true},
                    RandomRow{"PrefixedStatuses", 0xA5, true}, RandomRow{"PrefixedTwice", 0x41, true}),
    row_name<RandomRow>);

} // namespace
