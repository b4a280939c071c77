/// What the libraries lose by themselves on broken files is not ours to mend: libcups gives up a few bytes of each
/// printer description that it rejects, fontconfig and GLib keep what they know.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:_ppdOpen\nleak:libfontconfig\nleak:libglib-2.0\n";
}
