#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>
#include <windows.h>
// These need the one above.
#include <objidl.h>
// And these need both.
#include <mapicode.h>
#include <mapidefs.h>
#include <mapitags.h>
#include <mapiutil.h>
#include <mapix.h>
#include <psapi.h>

#include "tests/servers/mapi/mapiserver.h"

// What lies in the store, how its calls fail, and the blocks in which it hands values out.

// The platform's interfaces have none.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#ifdef __clang__
// It takes the headers' methods for such as throw nothing.
#pragma clang diagnostic ignored "-Wmicrosoft-exception-spec"
#endif

constexpr ULONG STRINGS_CUT = 255, STREAMED_FROM = 4096;

struct FOLDERDATA {
    const char *Store, *Name, *Kind;
    int Parent;
};
/// Their numbers are their ids.
constexpr FOLDERDATA FOLDERS[] = {
    {"Personal", "Top", "", -1},
    {"Personal", "Inbox", "IPF.Note", 0},
    {"Personal", "Deleted Items", "IPF.Note", 0},
    {"Personal", "Junk", "IPF.Note", 0},
    {"Personal", "Old", "IPF.Note", 3},
    {"Personal", "Contacts", "IPF.Contact", 0},
    {"Archive", "Top", "", -1},
    {"Archive", "Junk", "IPF.Note", 6},
    {"Archive", "K\xF6nnte\nsein ", "IPF.Note", 6},
};
constexpr int INBOX = 1, BASKET = 2, OLD = 4;
constexpr const char* STORES[] = {"Personal", "Archive"};

struct LYING {
    STOREDMAIL Mail;
    std::string Id;
    int Folder;
};

struct STATE {
    std::recursive_mutex Guard;
    std::list<LYING> Mails;
    std::map<std::string, LYING*> ById;
    std::string Failing;
    int NextId = 0, LogOns = 0, OpensLeft = -1, Initialized = 0, SessionNow = 0;
    int Calls = 0, FaultAt = -1, Below = 0, NextFolder = 0;
    MAPIFAULT Fault = MAPIFAULT::FAILS;
    bool FaultIsNow = false;
    std::atomic<bool> Blocking = false, Blocked = false;
    bool IsDown = false;
    int Objects = 0, TooMany = 0;
    std::set<void*> Buffers, Rows;
};
inline STATE State;

// Ends a call that does not work.
#define NEEDS(call)                       \
    if (const auto ending = Ending(call)) \
    return *ending

inline HRESULT Unknown() {
    return MAPI_E_NO_SUPPORT;
}

inline bool IsNow(MAPIFAULT fault) {
    return State.FaultIsNow && State.Fault == fault;
}

/// How a call ends that does not work; it leaves the process in another directory, as providers do.
inline std::optional<HRESULT> Ending(const char* call) {
    constexpr const wchar_t* OTHER_DIRECTORY = L"C:\\windows";
    // Changing it costs Wine more than all the rest.
    wchar_t directory[MAX_PATH];
    if (GetCurrentDirectoryW(MAX_PATH, directory) == 0 || wcscmp(directory, OTHER_DIRECTORY) != 0)
        SetCurrentDirectoryW(OTHER_DIRECTORY);
    const std::lock_guard hold(State.Guard);
    State.FaultIsNow = State.Calls++ == State.FaultAt;
    State.IsDown = State.IsDown || IsNow(MAPIFAULT::SHUTS_DOWN);
    if (IsNow(MAPIFAULT::GIVES_NOTHING))
        return S_OK;
    if (State.IsDown)
        return MAPI_E_NETWORK_ERROR;
    if (State.Failing == call || IsNow(MAPIFAULT::FAILS))
        return MAPI_E_CALL_FAILED;
    return {};
}

/// What one that works comes back with.
inline HRESULT Done() {
    const std::lock_guard hold(State.Guard);
    return IsNow(MAPIFAULT::WARNS) ? MAPI_W_NO_SERVICE : S_OK;
}

/// An object that is counted. It is never freed, so that a release too many is found, and no crash; only what it holds.
template <class BASE>
struct COUNTED : BASE {
    COUNTED() { ++State.Objects; }
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return ++References; }
    STDMETHODIMP_(ULONG) Release() override {
        const std::lock_guard hold(State.Guard);
        if (References == 0)
            ++State.TooMany;
        else if (--References == 0) {
            --State.Objects;
            Empty();
        }
        return References;
    }
    virtual void Empty() {}
    std::atomic<ULONG> References = 1;
};

inline void* NewBlock(size_t size, std::set<void*>& kind) {
    const std::lock_guard hold(State.Guard);
    void* block = calloc(1, size + 1);
    kind.insert(block);
    return block;
}

inline void FreeBlock(void* block, std::set<void*>& kind) {
    const std::lock_guard hold(State.Guard);
    if (!block)
        return;
    if (kind.erase(block) == 0)
        ++State.TooMany;
    else
        free(block);
}

inline std::string FolderId(int folder, bool lasting) {
    return std::string(lasting ? "L" : "S") + static_cast<char>(folder + 1);
}

/// One below Old, that is another one each time.
inline std::string NextFolderId() {
    return FolderId(OLD, true) + std::to_string(State.NextFolder++);
}

inline int FolderOf(ULONG length, const ENTRYID* id) {
    const auto* bytes = reinterpret_cast<const char*>(id);
    const int folder = length >= 2 && (*bytes == 'L' || *bytes == 'S') ? bytes[1] - 1 : -1;
    return folder < static_cast<int>(std::size(FOLDERS)) ? folder : -1;
}

/// A value with its text or bytes, as long as its owner lives.
struct VALUE {
    ULONG Tag;
    std::string Bytes;
    LONG Number = 0;
};
using VALUES = std::vector<VALUE>;

inline VALUE Missing(ULONG tag, SCODE error = MAPI_E_NOT_FOUND) {
    return {CHANGE_PROP_TYPE(tag, PT_ERROR), "", error};
}

/// A value as no store should have it.
inline void Spoil(SPropValue& value) {
    const ULONG type = PROP_TYPE(value.ulPropTag);
    if (IsNow(MAPIFAULT::OTHER_TYPES)) {
        value.ulPropTag = CHANGE_PROP_TYPE(value.ulPropTag, (type == PT_LONG ? PT_UNICODE : PT_LONG));
        value.Value.ul = 7;
    }
    if (IsNow(MAPIFAULT::NULL_VALUES) && type == PT_STRING8)
        value.Value.lpszA = nullptr;
    else if (IsNow(MAPIFAULT::NULL_VALUES))
        value.Value.bin = {1000, nullptr};
}

inline void Put(SPropValue& to, const VALUE& value, char*& room) {
    to.ulPropTag = value.Tag;
    const auto bytes = static_cast<ULONG>(value.Bytes.size());
    memcpy(room, value.Bytes.c_str(), bytes + 1);
    const SYSTEMTIME time = {2026, 3, 2, 3, 5, 6, 7, 0};
    const ULONG type = PROP_TYPE(value.Tag);
    if (type == PT_STRING8)
        to.Value.lpszA = room;
    else if (type == PT_BINARY)
        to.Value.bin = {bytes, reinterpret_cast<BYTE*>(room)};
    else if (type == PT_SYSTIME)
        SystemTimeToFileTime(&time, &to.Value.ft);
    else
        to.Value.l = value.Number;
    room += bytes + 1;
}

/// The values in one block, freed by MAPIFreeBuffer.
inline SPropValue* Packed(const VALUES& values) {
    size_t size = values.size() * (sizeof(SPropValue) + 1);
    for (const VALUE& value : values)
        size += value.Bytes.size();
    auto* props = static_cast<SPropValue*>(NewBlock(size, State.Buffers));
    char* room = reinterpret_cast<char*>(props + values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        Put(props[i], values[i], room);
        Spoil(props[i]);
    }
    return props;
}

inline VALUE Chosen(const VALUES& values, ULONG tag) {
    const auto at = std::ranges::find(values, tag, &VALUE::Tag);
    return at == values.end() ? Missing(tag) : *at;
}

inline VALUE MailValue(const LYING& lying, ULONG tag) {
    const STOREDMAIL& mail = lying.Mail;
    const std::map<ULONG, const std::string*> texts = {
        {PR_SENDER_NAME_A, &mail.SenderName},
        {PR_SENDER_EMAIL_ADDRESS_A, &mail.SenderAddress},
        {PR_DISPLAY_TO_A, &mail.To},
        {PR_SUBJECT_A, &mail.Subject},
        {PR_BODY_A, &mail.Body},
        {PR_TRANSPORT_MESSAGE_HEADERS_A, mail.Transport ? &*mail.Transport : nullptr},
        {PR_ENTRYID, mail.HasId ? &lying.Id : nullptr},
    };
    if (const auto text = texts.find(tag); text != texts.end())
        return text->second ? VALUE{tag, *text->second} : Missing(tag);
    return Chosen({{PR_MESSAGE_SIZE, "", static_cast<LONG>(mail.Body.size())},
                   {PR_MESSAGE_FLAGS, "", mail.IsRead ? LONG{MSGFLAG_READ} : 0},
                   {PR_CREATION_TIME, ""}},
                  tag);
}

inline VALUE RowValue(const LYING& lying, ULONG tag) {
    VALUE value = MailValue(lying, tag);
    if (tag != PR_ENTRYID && (lying.Mail.RowSaysLess || (tag == PR_BODY_A && value.Bytes.size() > STRINGS_CUT)))
        return Missing(tag, MAPI_E_NOT_ENOUGH_MEMORY);
    if (PROP_TYPE(tag) == PT_STRING8)
        value.Bytes.resize(std::min<size_t>(value.Bytes.size(), STRINGS_CUT));
    return value;
}

inline VALUE FolderValue(int folder, ULONG tag, const std::string& id) {
    const FOLDERDATA& data = FOLDERS[folder];
    const bool hasFolders =
        (folder == OLD && State.Below != 0) || std::ranges::count(FOLDERS, folder, &FOLDERDATA::Parent) > 0;
    return Chosen({{PR_DISPLAY_NAME_A, data.Name},
                   {PR_ENTRYID, id},
                   {PR_CONTAINER_CLASS_A, data.Kind},
                   {PR_SUBFOLDERS, "", hasFolders}},
                  tag);
}
