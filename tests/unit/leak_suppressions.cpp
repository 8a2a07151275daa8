// Leaks that the leak checker of the sanitizer build must not count, because
// they are inside system libraries and not ours to fix: the HEVC encoder
// keeps about a kilobyte of every encoder it opens (one per HEIF save, two
// with alpha), and the AV1 decoder a few dozen bytes of some broken files.
// The checker asks for this list by name; other builds never call it.
extern "C" const char *__lsan_default_suppressions() { return "leak:libx265.so\nleak:libdav1d.so\n"; }
