#pragma once

/// What is set for the whole process. Nothing here fails: a system that refuses leaves the process as it was.
namespace process {

/// Keeps Qt from loading OpenGL with the first window, unless the environment has its own wish. Nothing here
/// uses OpenGL, and loading it takes as much time and memory as all else until the first picture. Before the
/// first native window.
void leave_opengl_out();

/// Makes all threads share one heap. glibc gives many threads an arena each; an arena keeps its peak, so with
/// render threads that come and go memory would grow for hours.
void share_heap();

/// Gives the threads that are started from here on a stack of 1 MB. glibc caches 40 MB of stacks of threads
/// that have ended, which is only five of the usual size; mapping the others again took nearly half of the
/// processor time of a tick with ten tags.
void make_stacks_small();

/// Returns free memory to the system, which glibc would keep.
void give_memory_back();

} // namespace process
