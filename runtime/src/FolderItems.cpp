#include <cstring>

#include "HostClasses.h"
#include "Objects.h"
#include "Services.h"
#include "Strings.h"

namespace zorhost::runtime {

// False for a path that the record has no room for.
static bool PutPath(const std::filesystem::path& path, char* out, std::size_t room) {
    const std::string text = path.string();
    if (text.empty() || text.size() >= room) return false;
    std::memset(out, 0, room);
    std::memcpy(out, text.data(), text.size());
    return true;
}

// Without a name, the file itself, which must exist. With one, the folder that it is in, which must exist, and its
// name; the string belongs to the folder item and lives as long.
static REALboolean REALFSRefFromFolderItem_Service(REALobject item, FSRef* ref, REALstring* name) {
    Runtime* const host = Enter("REALFSRefFromFolderItem");
    FolderItemData* const data = host ? NativeOf<FolderItemData>(*host, item) : nullptr;
    if (!data || !ref) return 0;
    std::error_code ignored;
    const std::filesystem::path wanted = name ? data->path.parent_path() : data->path;
    if (!std::filesystem::exists(wanted, ignored) || !PutPath(wanted, ref->path, sizeof ref->path)) return 0;
    if (!name) return 1;
    if (!data->name) {
        data->name = NewString(*host, String{data->path.filename().string(), kUTF8}, OriginInCall(*host));
    }
    *name = data->name;
    return 1;
}

static REALboolean REALFSSpecFromFolderItem_Service(FSSpec* spec, REALobject item) {
    Runtime* const host = Enter("REALFSSpecFromFolderItem");
    const FolderItemData* const data = host ? NativeOf<FolderItemData>(*host, item) : nullptr;
    return data && spec && PutPath(data->path, spec->path, sizeof spec->path) ? 1 : 0;
}

std::span<const Service> FileServices() {
    static const Service services[] = {
        {"REALFSRefFromFolderItem", reinterpret_cast<void*>(REALFSRefFromFolderItem_Service)},
        {"REALFSSpecFromFolderItem", reinterpret_cast<void*>(REALFSSpecFromFolderItem_Service)},
    };
    return services;
}

}  // namespace zorhost::runtime
