#include "support/board_signals.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

template <typename Row> std::string row_name(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

struct ValueRow
{
    const char *name;
    QString text;
    QString key;
    QString value;
    bool null = false;
};

class AValueOfTheAdditionalInfo : public testing::TestWithParam<ValueRow>
{
};

TEST_P(AValueOfTheAdditionalInfo, IsWhatStandsBetweenTheBracketsAfterItsKey)
{
    const ValueRow &row = GetParam();

    const QString value = ZorvicHardware::parseAdditionalInfoKeyValue(row.text, row.key);

    EXPECT_EQ(value.toStdString(), row.value.toStdString());
    EXPECT_EQ(value.isNull(), row.null);
}

INSTANTIATE_TEST_SUITE_P(
    Values, AValueOfTheAdditionalInfo,
    testing::Values(ValueRow{"AloneInTheText", "vid<04d8>", "vid", "04d8"},
                    ValueRow{"AfterOtherItems", "hid<true>vid<04d8>pid<00a1>", "pid", "00a1"},
                    ValueRow{"OfTheFirstOfTwoKeys", "xp<1>xp<2>", "xp", "1"},
                    ValueRow{"WithoutItsKey", "vid<04d8>", "pid", "", true},
                    ValueRow{"InAnEmptyText", "", "pid", "", true},
                    ValueRow{"OfAKeyInAnotherCase", "VID<04d8>", "vid", "", true},
                    ValueRow{"Empty", "vid<>", "vid", ""},
                    ValueRow{"OfAKeyInsideALongerName", "maxtime<60>xt<5>", "xt", "60"},
                    ValueRow{"OfAKeyInsideAnEarlierValue", "name<xt>xt<5>", "xt", "5"},
                    ValueRow{"OfAKeyInsideTheLastValue", "name<xt>", "xt", "", true},
                    ValueRow{"AfterTextBehindTheKey", "vid and more <04d8>", "vid", "04d8"},
                    ValueRow{"WithoutAnOpeningBracket", "vid", "vid", "", true},
                    ValueRow{"WithoutAnOpeningBracketBehindTheKey", "<04d8>vid>", "vid", "", true},
                    ValueRow{"WithoutAClosingBracket", "vid<04d8", "vid", "", true},
                    ValueRow{"WithAClosingBracketBeforeTheOpeningOne", "vid>a<b>", "vid", "b"},
                    ValueRow{"WithAnOpeningBracketInside", "vid<a<b>", "vid", "a<b"},
                    ValueRow{"OfTheNextItemWhereItsOwnBracketsAreMissing", "vid pid<1>", "vid", "1"},
                    ValueRow{"OfAKeyWithoutALetter", "<04d8>", "", "04d8"},
                    ValueRow{"WithSpaces", "vid< 04d8 >", "vid", " 04d8 "}),
    row_name<ValueRow>);

/// A record as the driver fills it, on the heap, where reading past its end is noticed.
std::unique_ptr<_ZORVIC_DEVICE_INFO> record_with(const QByteArray &info)
{
    auto record = std::make_unique<_ZORVIC_DEVICE_INFO>();
    std::memset(record.get(), 'x', sizeof *record);
    record->board = 7;
    record->kind = 1;
    std::memcpy(reinterpret_cast<char *>(record.get()) + 325, info.constData(),
                static_cast<std::size_t>(info.size()));
    if (static_cast<std::size_t>(info.size()) < sizeof record->additionalInfo)
        record->additionalInfo[info.size()] = '\0';
    return record;
}

struct InfoRow
{
    const char *name;
    QByteArray info;
    const char *text; ///< type, vendor, product, xp, xt, xl
};

class ABoard : public testing::TestWithParam<InfoRow>
{
};

TEST_P(ABoard, IsDescribedByItsAdditionalInfo)
{
    const auto record = record_with(GetParam().info);

    EXPECT_EQ(text_of(ZorvicHardware::boardInfo(*record)), std::string("board 7 of type ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Boards, ABoard,
    testing::Values(
        InfoRow{"WithEverything", "hid<true>vid<04d8>pid<00a1>xp<4>xt<10>xl<2>", R"("HID" 1240 161 4 10 2)"},
        InfoRow{"WithNothing", "", R"("" 0 0 0 0 0)"},
        InfoRow{"WithoutType", "vid<04d8>", R"("" 1240 0 0 0 0)"},
        InfoRow{"OfATypeInCapitals", "hid<TRUE>", R"("TRUE" 0 0 0 0 0)"},
        InfoRow{"OfAnotherType", "hid<serial>", R"("serial" 0 0 0 0 0)"},
        InfoRow{"OfATypeThatOnlyStartsWithTrue", "hid<true >", R"("true " 0 0 0 0 0)"},
        InfoRow{"OfAnEmptyType", "hid<>", R"("" 0 0 0 0 0)"},
        InfoRow{"OfATypeWithoutItsEnd", "hid<true", R"("" 0 0 0 0 0)"},
        InfoRow{"OfATypeInLatin1", "hid<\xE9>", "\"\xC3\xA9\" 0 0 0 0 0"},
        InfoRow{"InAnyOrder", "xl<2>xt<10>xp<4>pid<00a1>vid<04d8>hid<true>", R"("HID" 1240 161 4 10 2)"},
        InfoRow{"WithHexadecimalInCapitals", "vid<04D8>pid<0x1F>", R"("" 1240 31 0 0 0)"},
        InfoRow{"WithMalformedHexadecimal", "vid<04g8>pid<>", R"("" 0 0 0 0 0)"},
        InfoRow{"WithMalformedDecimals", "xp<12x>xt<a>xl<0x1>", R"("" 0 0 0 0 0)"},
        InfoRow{"WithNegativeNumbers", "xp<-3>xt<-2147483648>", R"("" 0 0 -3 -2147483648 0)"},
        InfoRow{"WithNumbersThatAreTooLarge", "vid<80000000>xp<2147483648>xt<2147483647>",
                R"("" 0 0 0 2147483647 0)"},
        InfoRow{"WithDecimalsThatLookOctal", "xp<010>", R"("" 0 0 10 0 0)"},
        InfoRow{"WithAKeyInsideALongerName", "maxt<5>xt<6>", R"("" 0 0 0 5 0)"},
        InfoRow{"WithTextBehindTheNul", QByteArray("hid<a>\0vid<04d8>", 16), R"("a" 0 0 0 0 0)"},
        InfoRow{"OfARecordFilledToItsLastByte", QByteArray(3766, '.') + "xl<6>", R"("" 0 0 0 0 6)"},
        InfoRow{"OfARecordThatEndsInsideAValue", QByteArray(3767, '.') + "xl<6", R"("" 0 0 0 0 0)"}),
    row_name<InfoRow>);

TEST(ARecordWithoutANul, IsNotReadBeyondItsEnd)
{
    struct
    {
        _ZORVIC_DEVICE_INFO record;
        char behind[16];
    } memory{{}, "xt<5>"};
    std::memset(&memory.record, '.', sizeof memory.record);

    EXPECT_EQ(ZorvicHardware::boardInfo(memory.record).xt, 0);
}

TEST(ABoardsNumber, IsCopiedFromTheRecord)
{
    for (const int number : {0, 3, -5, 2147483647}) {
        _ZORVIC_DEVICE_INFO record{};
        record.board = number;

        EXPECT_EQ(ZorvicHardware::boardInfo(record).board, number);
    }
}

} // namespace
