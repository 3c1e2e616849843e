#include "accept/judges.h"

#include "language.h"

#include <algorithm>
#include <cmath>

namespace acceptance {

namespace {

using lab::Audience;
using lab::format;
using lab::tr;
using lab::trPlural;

// Shares of a course.
constexpr double nearEnd = 0.1;     ///< a stroke begins and ends as near to the ends as this, or nearer
constexpr double atEnd = 0.985;     ///< nothing more is to come
constexpr double turned = 0.02;     ///< so much back is the way back
constexpr double barelyBegun = 0.2; ///< a new stroke is then a new beginning

constexpr double beside =
    0.1; ///< of the screen's width: a stroke that is farther away follows something else

/// A place as a course sees it.
struct Foot
{
    double along = 0;  ///< 0 at its beginning, 1 at its end
    double across = 0; ///< in the unit of the scale, positive on its right-hand side
};

/// A course that is, or was, followed.
struct Followed
{
    std::vector<Foot> feet;
    double farthest = 0;
    int breaks = 0;
    bool isDone = false;
};

/// The distances of a followed course from where they should be, as errors.
Errors errorsOf(std::vector<double> deviations)
{
    Errors errors;
    for (double &deviation : deviations) {
        deviation = std::abs(deviation);
        errors.mean += deviation / static_cast<double>(deviations.size());
        errors.worst = std::max(errors.worst, deviation);
    }
    return errors;
}

double medianOf(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Takes out what a straight line explains: a ruler that was laid down awry is no fault of the board.
void straighten(const std::vector<Foot> &feet, std::vector<double> &deviations)
{
    const auto count = static_cast<double>(feet.size());
    double along = 0;
    double across = 0;
    for (const Foot &foot : feet) {
        along += foot.along / count;
        across += foot.across / count;
    }
    double square = 0;
    double product = 0;
    for (const Foot &foot : feet) {
        square += (foot.along - along) * (foot.along - along);
        product += (foot.along - along) * (foot.across - across);
    }
    const double slope = square > 0 ? product / square : 0;
    for (std::size_t i = 0; i < feet.size(); ++i)
        deviations[i] -= across + slope * (feet[i].along - along);
}

/// Follows strokes along courses, one course after the other.
class Follower
{
public:
    Follower(std::vector<Course> courses, const Scale &scale)
        : m_courses(std::move(courses)), m_scale(scale), m_followed(m_courses.size())
    {
    }

    void follow(const Stroke &stroke)
    {
        for (std::size_t i = 0; i < stroke.samples.size() && m_current < m_courses.size(); ++i) {
            const bool isLast = i + 1 == stroke.samples.size() && stroke.hasLifted;
            follow(stroke.samples[i].place, i == 0, isLast);
        }
    }

    bool isDone() const { return m_current == m_courses.size(); }
    const std::vector<Course> &courses() const { return m_courses; }
    const Followed &followed(std::size_t course) const { return m_followed[course]; }

    Errors errors(std::size_t index) const
    {
        const Course &course = m_courses[index];
        std::vector<double> deviations;
        for (const Foot &foot : m_followed[index].feet)
            deviations.push_back(foot.across);
        if (!course.isDrawn)
            straighten(m_followed[index].feet, deviations);
        if (course.mesh > 0) {
            const double mesh = meshOf(course);
            const double line = std::round(medianOf(deviations) / mesh) * mesh;
            for (double &deviation : deviations)
                deviation -= line;
        }
        return errorsOf(deviations);
    }

private:
    Place wayOf(const Course &course) const
    {
        return {(course.to.x - course.from.x) * m_scale.x, (course.to.y - course.from.y) * m_scale.y};
    }

    /// In the unit of the scale, across the course.
    double meshOf(const Course &course) const
    {
        const Place way = wayOf(course);
        return course.mesh * (way.y == 0 ? m_scale.y : m_scale.x);
    }

    Foot footAt(const Place &place) const
    {
        const Course &course = m_courses[m_current];
        const Place way = wayOf(course);
        const double length = std::hypot(way.x, way.y);
        const double x = (place.x - course.from.x) * m_scale.x;
        const double y = (place.y - course.from.y) * m_scale.y;
        return {(x * way.x + y * way.y) / (length * length), (way.x * y - way.y * x) / length};
    }

    void follow(const Place &place, bool isFirst, bool isLast)
    {
        Followed &followed = m_followed[m_current];
        Foot foot = footAt(place);
        if (isFirst && (followed.farthest < barelyBegun || foot.along <= nearEnd))
            followed = Followed(); // once more from the beginning
        else if (isFirst)
            ++followed.breaks;
        if (followed.feet.empty()) {
            if (!begins(foot))
                return;
            foot = footAt(place);
        }
        followed.feet.push_back(foot);
        followed.farthest = std::max(followed.farthest, foot.along);
        const bool isAtEnd = foot.along >= atEnd || foot.along < followed.farthest - turned || isLast;
        followed.isDone = followed.farthest >= 1 - nearEnd && isAtEnd;
        if (followed.isDone)
            ++m_current;
    }

    /// Whether a course begins here. One that may be followed both ways then begins at this end.
    bool begins(const Foot &foot)
    {
        Course &course = m_courses[m_current];
        const bool isNear = course.mesh > 0 || std::abs(foot.across) <= beside * boardWidth * m_scale.x;
        if (isNear && course.bothWays && foot.along >= 1 - nearEnd) {
            std::swap(course.from, course.to);
            return true;
        }
        return isNear && foot.along <= nearEnd;
    }

    std::vector<Course> m_courses;
    const Scale &m_scale;
    std::vector<Followed> m_followed;
    std::size_t m_current = 0;
};

void judge(const Follower &follower, std::size_t index, const Setting &setting, Finding &found)
{
    const std::string &key = follower.courses()[index].key;
    const Audience audience = setting.audience;
    const char *const name = tr(follower.courses()[index].name.c_str(), audience);
    const Followed &followed = follower.followed(index);
    if (!followed.isDone) {
        found.faults.push_back(format(tr("Not followed from end to end: %s.", audience), name));
        return;
    }
    const Errors errors = follower.errors(index);
    const bool isDrawn = follower.courses()[index].isDrawn;
    // TRANSLATORS: the name of a line, such as "Down", and two lengths.
    found.lines.push_back(format(isDrawn ? tr("%s: mean %s and at most %s beside the line.", audience)
                                         : tr("%s: mean %s and at most %s from a straight line.", audience),
                                 name, lengthText(errors.mean, setting).c_str(),
                                 lengthText(errors.worst, setting).c_str()));
    found.figures[key + "_mean"] = errors.mean;
    found.figures[key + "_worst"] = errors.worst;
    if (!errors.areWithin(setting.lines))
        found.faults.push_back(format(tr("%s: more than mean %s or worst %s.", audience), name,
                                      lengthText(setting.lines.mean, setting).c_str(),
                                      lengthText(setting.lines.worst, setting).c_str()));
    if (followed.breaks > 0)
        found.faults.push_back(format(trPlural("%s: the stroke broke %d time.",
                                               "%s: the stroke broke %d times.", followed.breaks, audience),
                                      name, followed.breaks));
}

Finding judgeCourses(const Seen &seen, const Setting &setting, std::vector<Course> courses)
{
    Follower follower(std::move(courses), setting.scale);
    for (const Stroke &stroke : seen.strokes()) {
        if (stroke.kind != capture::ReportKind::erase)
            follower.follow(stroke);
    }
    Finding found;
    found.isComplete = follower.isDone() && seen.down() == 0;
    for (std::size_t i = 0; i < follower.courses().size(); ++i)
        judge(follower, i, setting, found);
    return found;
}

} // namespace

Finding judgeBar(const Seen &seen, const Setting &setting)
{
    return judgeCourses(seen, setting, barCourses(setting.frame));
}

Finding judgeGrid(const Seen &seen, const Setting &setting)
{
    return judgeCourses(seen, setting, gridCourses(setting.frame));
}

Finding judgeDiagonals(const Seen &seen, const Setting &setting)
{
    return judgeCourses(seen, setting, diagonalCourses(setting.frame));
}

} // namespace acceptance
