#pragma once

#include <cstddef>

#include <pthread.h>

/// What is set for the whole process. Apart from require_resources, nothing here fails: a system that refuses
/// leaves the process as it was.
namespace process {

/// Opens those of the descriptors 0 to 2 that are closed on /dev/null, so that no connection or file gets
/// such a number and is then written to as standard output or error. Lets writing to a pipe without a reader
/// fail instead of ending the process. To be called before anything else.
void open_standard_streams();

/// Ends the process with one line on standard error and status 1 unless the files, threads and memory that
/// the window needs can be had. Without them Qt and the libraries below it crash, or wait for ever: a window
/// without the thread that reads from the X server answers no key. To be called before Qt is.
void require_resources();

/// Keeps Qt from loading OpenGL with the first window, unless the environment chooses an integration. Nothing
/// here uses OpenGL, and loading it takes as much time and memory as all else until the first picture. Must
/// be called before the first native window is created.
void leave_opengl_out();

/// Makes all threads share one heap. glibc gives many threads an arena each; an arena keeps its peak, so with
/// render threads that come and go memory would grow for hours.
void share_heap();

/// Stacks of the usual size that glibc keeps of threads that have ended, for threads to come: 40 MB in all.
constexpr std::size_t kept_stacks = 5;

/// While it exists, every thread that is started without a size of its own gets a stack of 1 MB, so that
/// glibc keeps forty of them. Mapping stacks again took nearly half of the processor time of a tick with ten
/// tags. For as short a time as possible: the size holds for threads that others start at that moment, too.
class SmallStacks
{
public:
    SmallStacks();
    ~SmallStacks();
    SmallStacks(const SmallStacks &) = delete;
    SmallStacks &operator=(const SmallStacks &) = delete;

private:
    pthread_attr_t m_former{};
    bool m_changed = false;
};

/// Returns free memory to the system, which glibc would keep.
void give_memory_back();

} // namespace process
