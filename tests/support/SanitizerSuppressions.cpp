// What the sanitizers cannot judge in the libraries, which are built without them.

// Fontconfig and GLib keep what they know by ways that the leak checker does not follow; libcups gives up a few bytes
// of each printer description that it rejects.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\nleak:libglib-2.0\nleak:_ppdOpen\n";
}

// GLib's locks are its own, so the order that they make between Pango's threads is not seen.
extern "C" const char* __tsan_default_suppressions()
{
    return "race:libglib-2.0\nrace:libgobject-2.0\nrace:libfontconfig\n"
           "race:libpango\nrace:libharfbuzz\nrace:libfreetype\n";
}
