// What the sanitizers cannot judge in the libraries behind the text layout, which are built without them.

// Fontconfig keeps its font patterns by offsets, which the leak checker does not follow.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}

// GLib's locks are its own, so the order that they make between Pango's threads is not seen.
extern "C" const char* __tsan_default_suppressions()
{
    return "race:libglib-2.0\n"
           "race:libgobject-2.0\n"
           "race:libfontconfig\n"
           "race:libpango\n"
           "race:libharfbuzz\n"
           "race:libfreetype\n";
}
