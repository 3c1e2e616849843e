#include "picturememory.h"

#include <atomic>
#include <utility>

namespace {

constexpr qsizetype bytes_per_pixel = 4;
constexpr qsizetype bytes_per_row = 16; // of the paint engine that an image keeps

std::atomic<qsizetype> taken{0};

} // namespace

PictureMemory::PictureMemory(const QSize &picture)
{
    const qsizetype row = qsizetype(picture.width()) * bytes_per_pixel + bytes_per_row;
    const qsizetype bytes = row * picture.height();
    if (taken.fetch_add(bytes) + bytes <= most)
        m_bytes = bytes;
    else
        taken -= bytes;
}

PictureMemory::~PictureMemory()
{
    taken -= m_bytes;
}

PictureMemory::PictureMemory(PictureMemory &&other) noexcept : m_bytes(std::exchange(other.m_bytes, 0)) { }

PictureMemory &PictureMemory::operator=(PictureMemory &&other) noexcept
{
    std::swap(m_bytes, other.m_bytes);
    return *this;
}
