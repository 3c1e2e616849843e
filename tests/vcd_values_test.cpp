#include "vcd.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>

namespace {

/// The value lines of the written trace.
std::vector<std::string> written_values()
{
    const QTemporaryDir folder;
    const std::string path = folder.filePath("trace.vcd").toStdString();
    Vcd::write_vcd(path);
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> values;
    for (std::string line; std::getline(file, line);)
        if (line[0] != '#' && line[0] != '$')
            values.push_back(line);
    return values;
}

template <typename Row> std::string row_name(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

struct Letter
{
    const char *name;
    double value;
    char written;
};
std::ostream &operator<<(std::ostream &out, const Letter &row)
{
    return out << row.name;
}
class ALetterIsWrittenForAChar : public testing::TestWithParam<Letter>
{
};

TEST_P(ALetterIsWrittenForAChar, AfterTruncatingToAnInteger)
{
    Vcd letter("letter", '?');
    letter.update(GetParam().value);

    EXPECT_EQ(written_values(),
              (std::vector<std::string>{"s? !", std::string("s") + GetParam().written + " !"}));
}
INSTANTIATE_TEST_SUITE_P(
    TraceValues, ALetterIsWrittenForAChar,
    testing::Values(Letter{"Plain", 65, 'A'}, Letter{"Fraction", 65.9, 'A'}, Letter{"Blank", 32, ' '},
                    Letter{"Zero", 0, '\0'}, Letter{"Negative", -1.5, '\xff'},
                    Letter{"MoreThanAByte", 256 + 65, 'A'}, Letter{"LargestInt", 2147483647.5, '\xff'},
                    Letter{"SmallestInt", -2147483647.5, '\x01'},
                    Letter{"TooLargeForAnInt", 2147483648.0 + 65, '\0'},
                    Letter{"TooSmallForAnInt", -2147483648.0 - 65, '\0'}, Letter{"Infinite", HUGE_VAL, '\0'},
                    Letter{"NotANumber", std::numeric_limits<double>::quiet_NaN(), '\0'}),
    row_name<Letter>);

struct Number
{
    const char *name;
    double value;
    const char *written;
};
std::ostream &operator<<(std::ostream &out, const Number &row)
{
    return out << row.name;
}
class ANumberHasSixDigits : public testing::TestWithParam<Number>
{
};

TEST_P(ANumberHasSixDigits, AsAStreamWritesIt)
{
    Vcd number("number", -12345.0);
    number.update(GetParam().value);

    EXPECT_EQ(written_values(),
              (std::vector<std::string>{"r-12345 !", std::string("r") + GetParam().written + " !"}));
}
INSTANTIATE_TEST_SUITE_P(
    TraceValues, ANumberHasSixDigits,
    testing::Values(Number{"Fraction", 1.5, "1.5"}, Number{"Zero", 0, "0"},
                    Number{"NegativeZero", -0.0, "-0"}, Number{"NeedsAnExponent", 1234567, "1.23457e+06"},
                    Number{"Tenth", 0.1, "0.1"}, Number{"Negative", -0.25, "-0.25"},
                    Number{"TieToEvenBelow", 123456.5, "123456"},
                    Number{"TieToEvenAbove", 123457.5, "123458"}, Number{"LargestFixed", 999999, "999999"},
                    Number{"RoundsUpToAnExponent", 999999.5, "1e+06"},
                    Number{"RoundsUpToOne", 0.9999999, "1"}, Number{"SmallestFixed", 0.0001, "0.0001"},
                    Number{"BelowFixed", 0.00001, "1e-05"},
                    Number{"RoundsUpToFixed", 0.00009999999, "0.0001"}, Number{"Third", 1 / 3.0, "0.333333"},
                    Number{"Largest", std::numeric_limits<double>::max(), "1.79769e+308"},
                    Number{"SmallestDenormal", 5e-324, "4.94066e-324"}, Number{"Infinity", HUGE_VAL, "inf"},
                    Number{"NegativeInfinity", -HUGE_VAL, "-inf"}),
    row_name<Number>);

/// Numbers of every kind that a shortcut could round or format wrongly.
std::vector<double> difficult_numbers(int count)
{
    std::mt19937_64 random(20);
    const auto from_bits = [](std::uint64_t bits) {
        double number;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    };
    const auto few_steps_from = [&](double number) {
        for (auto steps = random() % 4; steps > 0; --steps)
            number = std::nextafter(number, random() % 2 ? HUGE_VAL : -HUGE_VAL);
        return random() % 2 ? number : -number;
    };
    const auto power = [&] { return std::pow(10, double(random() % 14) - 7); };
    std::vector<double> numbers;
    while (numbers.size() < std::size_t(count)) {
        numbers.push_back(from_bits(random()));
        numbers.push_back(from_bits(random() & 0x800fffffffffffff)); // a denormal
        numbers.push_back(double(random()) / 1e19 * power());
        numbers.push_back(few_steps_from(power()));
        numbers.push_back(few_steps_from((100000.5 + double(random() % 900000)) * power() / 1e5)); // a tie
        numbers.push_back(few_steps_from(double(random() % 2000000)));
        numbers.push_back(double(random() % 65536) / 32768); // a position
        if (numbers.size() % 1001 == 0) {
            const double special[] = {HUGE_VAL, -HUGE_VAL, std::nan(""), -std::nan(""), 0.0, 1.0, -0.0};
            numbers.insert(numbers.end(), std::begin(special), std::end(special));
        }
    }
    return numbers;
}

TEST(AChange, IsAllZerosUntilItIsFilledIn)
{
    const Vcd::change change;

    EXPECT_EQ(change.id, 0U);
    EXPECT_EQ(change.type, 0);
    EXPECT_EQ(change.value, 0);
    EXPECT_EQ(change.time, 0);
}

TEST(TraceValues, AMillionNumbersAreWrittenAsAStreamDoes)
{
    const std::vector<double> numbers = difficult_numbers(1000000);
    Vcd signal("number", 0.5);
    std::vector<double> recorded{0.5};
    for (const double number : numbers) {
        signal.update(number);
        if (number != recorded.back())
            recorded.push_back(number);
    }

    const std::vector<std::string> values = written_values();

    ASSERT_EQ(values.size(), recorded.size());
    std::ostringstream expected;
    for (std::size_t index = 0; index < values.size(); ++index) {
        expected.str({});
        expected << 'r' << recorded[index] << " !";
        if (values[index] != expected.str()) // a million assertions are slow under a sanitizer
            FAIL() << values[index] << " instead of " << expected.str();
    }
}

} // namespace
