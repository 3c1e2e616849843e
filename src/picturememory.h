#pragma once

#include <QSize>
#include <QtGlobal>

/// A share of the memory that the kept pictures of all contacts may take together, so that no report can
/// exhaust the system's. Bytes; given back at the end of its life. Any thread may take one.
class PictureMemory
{
public:
    static constexpr qsizetype most = 200'000'000; ///< of all shares together

    /// Holds nothing.
    PictureMemory() = default;
    /// Takes the memory of a picture with its paint engine; holds nothing if not that much is left.
    explicit PictureMemory(const QSize &picture);
    ~PictureMemory();

    PictureMemory(PictureMemory &&other) noexcept;
    PictureMemory &operator=(PictureMemory &&other) noexcept;

    bool is_held() const { return m_bytes != 0; }

private:
    qsizetype m_bytes = 0;
};
