// Registration entries of automation classes, interfaces and type libraries under the classes
// root: every key derived from the identifiers and names of the component's table.
#include <cstring>
#include <string>

#include "export.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace {

constexpr int kModuleNameChars = 256;

std::string id_text(const GUID *id) {
    char text[64] = "";
    if (id) Guid2Ansi(text, id);
    return text;
}

std::string module_file(HMODULE module) {
    char path[kModuleNameChars + 1] = "";
    GetTlbFileName(path, module);
    return path;
}

bool is_null_id(const GUID *id) {
    static const GUID kNull = {};
    return !id || std::memcmp(id, &kNull, sizeof kNull) == 0;
}

// The class's or application's keys in the order they are written; the server subkey differs.
int32_t register_class(const GUID *clsid, const char *name, const char *text, HMODULE module,
                       const char *server, const std::string &description) {
    const std::string key = "CLSID\\" + id_text(clsid);
    const std::string progId = std::string(name ? name : "") + "." + (text ? text : "");
    const std::string path = module_file(module);
    // "ProgID" holds the program name alone while the program key is "name.text": kept so.
    return HKR_Insert(key.c_str(), description.c_str()) &&
                   HKR_Insert((key + "\\" + server).c_str(), path.c_str()) &&
                   HKR_Insert((key + "\\ProgID").c_str(), name ? name : "") &&
                   HKR_Insert(progId.c_str(), description.c_str()) &&
                   HKR_Insert((progId + "\\CLSID").c_str(), id_text(clsid).c_str())
               ? 1
               : 0;
}

// Children first: a key with subkeys cannot go. Keys that are not there are no failure.
void unregister_class(const GUID *clsid, const char *name, const char *text, const char *server) {
    const std::string key = "CLSID\\" + id_text(clsid);
    const std::string progId = std::string(name ? name : "") + "." + (text ? text : "");
    HKR_Delete((key + "\\ProgID").c_str());
    HKR_Delete((key + "\\" + server).c_str());
    HKR_Delete(key.c_str());
    HKR_Delete((progId + "\\CLSID").c_str());
    HKR_Delete(progId.c_str());
}

}  // namespace

TARN_API int32_t TARN_CALL HKR_Insert(const char *key, const char *value) {
    if (!key) return 0;
    HKEY h = nullptr;
    if (plat::reg_create(HKEY_CLASSES_ROOT, key, &h) != plat::kErrorSuccess) return 0;
    long r = plat::kErrorSuccess;
    if (value)
        r = plat::reg_set(h, nullptr, plat::kRegSz, value, uint32_t(std::strlen(value) + 1));
    plat::reg_close(h);
    return r == plat::kErrorSuccess ? 1 : 0;
}

TARN_API int32_t TARN_CALL HKR_Delete(const char *key) {
    if (!key) return 0;
    return plat::reg_delete_key(HKEY_CLASSES_ROOT, key) == plat::kErrorSuccess ? 1 : 0;
}

TARN_API char *TARN_CALL Guid2Ansi(char *out, const GUID *id) {
    if (!out) return out;
    out[0] = '\0';
    TARN_WCHAR wide[39] = {};
    if (id && plat::guid_text(*id, wide)) lstrcpy_U2A(out, wide);
    return out;
}

TARN_API char *TARN_CALL GetTlbFileName(char *out, HMODULE module) {
    if (!out) return out;
    out[0] = '\0';
    const int n = plat::module_file_name(module, out, kModuleNameChars + 1);
    if (n <= 0 || n > kModuleNameChars) out[0] = '\0';
    return out;
}

TARN_API int32_t TARN_CALL HKR_RegisterInterface(const GUID *iid, const char *name) {
    return HKR_Insert(("Interface\\" + id_text(iid)).c_str(), name ? name : "");
}

TARN_API int32_t TARN_CALL HKR_UnregisterInterface(const GUID *iid) {
    return HKR_Delete(("Interface\\" + id_text(iid)).c_str());
}

TARN_API int32_t TARN_CALL HKR_RegisterClass(const GUID *clsid, const char *name,
                                             const char *text, HMODULE module) {
    return register_class(clsid, name, text, module, "InprocServer32", text ? text : "");
}

TARN_API int32_t TARN_CALL HKR_UnregisterClass(const GUID *clsid, const char *name,
                                               const char *text) {
    unregister_class(clsid, name, text, "InprocServer32");
    return 1;
}

TARN_API int32_t TARN_CALL HKR_RegisterApplication(const GUID *clsid, const char *name,
                                                   const char *text, HMODULE module) {
    const std::string description = std::string(name ? name : "") + " " + (text ? text : "");
    return register_class(clsid, name, text, module, "LocalServer32", description);
}

TARN_API int32_t TARN_CALL HKR_UnregisterApplication(const GUID *clsid, const char *name,
                                                     const char *text) {
    unregister_class(clsid, name, text, "LocalServer32");
    return 1;
}

TARN_API int32_t TARN_CALL HKR_RegisterTlb(const GUID *libid, const char *libName,
                                           const char *file) {
    const std::string key = "typelib\\" + id_text(libid);
    return HKR_Insert(key.c_str(), nullptr) &&
                   HKR_Insert((key + "\\1.0").c_str(), libName ? libName : "") &&
                   HKR_Insert((key + "\\1.0\\0").c_str(), nullptr) &&
                   HKR_Insert((key + "\\1.0\\0\\win32").c_str(), file ? file : "")
               ? 1
               : 0;
}

TARN_API int32_t TARN_CALL HKR_UnregisterTlb(const GUID *libid) {
    const std::string key = "typelib\\" + id_text(libid);
    HKR_Delete((key + "\\1.0\\0\\win32").c_str());
    HKR_Delete((key + "\\1.0\\0").c_str());
    HKR_Delete((key + "\\1.0").c_str());
    return HKR_Delete(key.c_str());
}

TARN_API int32_t TARN_CALL HKR_RegisterDLLServer(int32_t count, const HKR_ServerEntry *table,
                                                 HMODULE module, const GUID *libid,
                                                 const char *libName) {
    for (int32_t i = 0; i < count && table; ++i) {
        const HKR_ServerEntry &e = table[i];
        const bool ok =
            (!e.interfaceName || HKR_RegisterInterface(e.iid, e.interfaceName)) &&
            (!e.classText || HKR_RegisterClass(e.clsid, e.programName, e.classText, module));
        if (!ok) {
            HKR_UnregisterDLLServer(count, table, module, libid);
            return 1;
        }
    }
    if (is_null_id(libid)) return 0;
    if (HKR_RegisterTlb(libid, libName, module_file(module).c_str())) return 0;
    HKR_UnregisterDLLServer(count, table, module, libid);
    return 1;
}

TARN_API int32_t TARN_CALL HKR_UnregisterDLLServer(int32_t count, const HKR_ServerEntry *table,
                                                   HMODULE, const GUID *libid) {
    if (!is_null_id(libid)) HKR_UnregisterTlb(libid);
    for (int32_t i = count - 1; i >= 0 && table; --i) {
        const HKR_ServerEntry &e = table[i];
        if (e.classText) HKR_UnregisterClass(e.clsid, e.programName, e.classText);
        if (e.interfaceName) HKR_UnregisterInterface(e.iid);
    }
    return 0;
}
