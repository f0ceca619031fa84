// The code of docs/coming-from-glib.md that is GLib's.

#include <glib.h>
#include <glib/gstdio.h>
#include <initializer_list>

gboolean keep_part(const char* folder)
{
    static const guint8 scan[640 * 480 / 8] = {};
    GVariantBuilder planes;
    g_variant_builder_init(&planes, G_VARIANT_TYPE("a(say)"));
    for (const char* const name : {"Top", "Bottom"})
        g_variant_builder_add(&planes, "(s@ay)", name, // the scan is there twice
                              g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, scan, sizeof scan, 1));
    g_autoptr(GVariant) part = g_variant_ref_sink(g_variant_new("(sa(say))", "Housing", &planes));
    g_autofree char* path = g_build_filename(folder, "part.dat", nullptr);
    if (!g_file_set_contents(path, static_cast<const char*>(g_variant_get_data(part)),
                             static_cast<gssize>(g_variant_get_size(part)), nullptr))
        return FALSE;

    char* bytes = nullptr;
    gsize size = 0;
    if (!g_file_get_contents(path, &bytes, &size, nullptr))
        return FALSE;
    g_autoptr(GVariant) loaded = g_variant_ref_sink(
        g_variant_new_from_data(G_VARIANT_TYPE("(sa(say))"), bytes, size, FALSE, g_free, bytes));
    g_autoptr(GVariant) list = g_variant_get_child_value(loaded, 1);
    gboolean found = FALSE;
    for (gsize i = 0; i < g_variant_n_children(list) && !found; ++i) {
        const char* name = nullptr;
        g_variant_get_child(list, i, "(&s@ay)", &name, nullptr);
        found = g_strcmp0(name, "Top") == 0;
    }
    g_autoptr(GKeyFile) settings = g_key_file_new();
    g_autofree char* ini = g_build_filename(folder, "part.ini", nullptr);
    g_key_file_load_from_file(settings, ini, G_KEY_FILE_NONE, nullptr);
    g_autoptr(GError) missing = nullptr;
    const int width = g_key_file_get_integer(settings, "View", "Width", &missing);
    return found && (missing ? 800 : width) == 800;
}

int main()
{
    g_autofree char* folder = g_dir_make_tmp(nullptr, nullptr);
    const gboolean kept = keep_part(folder);
    g_autofree char* path = g_build_filename(folder, "part.dat", nullptr);
    g_remove(path);
    g_rmdir(folder);
    return kept ? 0 : 1;
}
