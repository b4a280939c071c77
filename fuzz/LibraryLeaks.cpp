/// What the libraries lose by themselves on broken files is not ours to mend: libcups gives up a few bytes of each
/// printer description that it rejects, and fontconfig keeps what it knows of the fonts.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:_ppdOpen\nleak:libfontconfig\n";
}
