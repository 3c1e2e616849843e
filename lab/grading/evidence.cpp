#include "grading/evidence.h"

namespace grading {

void Evidence::add(double value)
{
    ++m_count;
    m_sum += value;
    m_areFlags = m_areFlags && (value == 0 || value == 1);
    if (m_values.size() < most) {
        m_values.push_back(static_cast<float>(value));
        return;
    }
    const std::uint64_t place = std::uniform_int_distribution<std::uint64_t>(0, m_count - 1)(m_random);
    if (place < most)
        m_values[place] = static_cast<float>(value);
}

double Evidence::mean() const
{
    return m_count > 0 ? m_sum / static_cast<double>(m_count) : 0;
}

} // namespace grading
