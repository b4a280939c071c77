// Fontconfig keeps its font patterns by offsets, which the leak checker does not follow.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}
