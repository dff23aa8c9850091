#include "AM_InterComObject.h"

#include "AM_Assert.h"
#include "AM_Messages.h"
#include "AM_SpinLock.h"
#include "AM_StateText.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

constexpr char k_markLead = '\\';
constexpr std::string_view k_addresseeMark = "\\@", k_subjectMark = "\\#", k_contentMark = "\\+";

// Addresses in their full length and the commas between them.
constexpr size_t k_addresseeField = InterCom_MAX_ADDRESSES * (InterCom_ADDRESSEE_LEN + 1) - 1;
static_assert(k_addresseeField + InterCom_SUBJECT_LEN + 6 < InterCom_MIN_MESSAGE);

// --- the lock ----------------------------------------------------------------------------

// One for the queues of all instances, held for the copy of one message.
AM_SpinLock queues;

class QueueLock {
public:
    QueueLock() : held(queues.lock()) {}
    ~QueueLock() {
        if (held) queues.unlock();
    }
    QueueLock(const QueueLock&) = delete;
    QueueLock& operator=(const QueueLock&) = delete;
    bool isHeld() const { return held; }

private:
    const bool held;
};

// --- broadcasts --------------------------------------------------------------------------

// The message that a thread broadcasts. A receiver may send in turn, and other threads may send at
// the same time, so each thread has a pile of its own.
struct Broadcast {
    const AM_InterComObject* sender;
    const char* currentSubject;
    const char* currentContent;
    const Broadcast* outer;
};
thread_local const Broadcast* broadcasts = nullptr;

class BroadcastScope {
public:
    BroadcastScope(const AM_InterComObject& sender, const char* subject, const char* content)
        : record{&sender, subject, content, broadcasts} {
        broadcasts = &record;
    }
    ~BroadcastScope() { broadcasts = record.outer; }
    BroadcastScope(const BroadcastScope&) = delete;
    BroadcastScope& operator=(const BroadcastScope&) = delete;

private:
    const Broadcast record;
};

const Broadcast* currentBroadcast(const AM_InterComObject* sender) {
    const Broadcast* record = broadcasts;
    while (record && record->sender != sender)
        record = record->outer;
    return record;
}

u32 classBit(const char* address) {
    for (u32 i = 0; AM_classNames[i][0]; ++i)
        if (std::strcmp(AM_classNames[i], address) == 0) return 1u << i;
    return 0;
}

// --- message texts -----------------------------------------------------------------------

// A text under way, terminated at all times. What follows a cut is left out.
class Field {
public:
    Field(char* target, size_t maxLength) : place(target), room(maxLength) { *place = 0; }

    void append(std::string_view piece) {
        if (cut) return;
        const std::string_view kept = AM_truncateUtf8(piece, room);
        std::memcpy(place, kept.data(), kept.size());
        place += kept.size();
        room -= kept.size();
        *place = 0;
        cut = kept.size() < piece.size();
    }
    bool wasCut() const { return cut; }

private:
    char* place;
    size_t room;
    bool cut = false;
};

class AddressList {
public:
    explicit AddressList(InterComAddress* target) : addressees(target) {}

    void append(std::string_view list) {
        while (!list.empty()) {
            const size_t comma = std::min(list.find(','), list.size());
            if (comma > 0) addOne(list.substr(0, comma));
            list.remove_prefix(std::min(comma + 1, list.size()));
        }
    }
    i32 size() const { return count; }
    void logLosses() const {
        if (cut)
            AM_Log("WARNING: InterCom address longer than %d bytes, cut", InterCom_ADDRESSEE_LEN);
        if (leftOut > 0)
            AM_Log("WARNING: InterCom message with more than %d addresses, %d left out",
                   InterCom_MAX_ADDRESSES, leftOut);
    }

private:
    void addOne(std::string_view address) {
        if (count == InterCom_MAX_ADDRESSES) {
            ++leftOut;
            return;
        }
        Field field(addressees[count++], InterCom_ADDRESSEE_LEN);
        field.append(address);
        cut = cut || field.wasCut();
    }

    InterComAddress* addressees;
    i32 count = 0;
    i32 leftOut = 0;
    bool cut = false;
};

// The first mark of `text`, or its size.
size_t findMark(std::string_view text) {
    for (size_t at = text.find(k_markLead); at != text.npos; at = text.find(k_markLead, at + 1)) {
        const std::string_view mark = text.substr(at, 2);
        if (mark == k_addresseeMark || mark == k_subjectMark || mark == k_contentMark) return at;
    }
    return text.size();
}

// At most `maxLength` bytes of `text` are kept; nothing far behind them is looked at.
std::string_view clipped(const char* text, size_t maxLength, bool& cut) {
    if (!text) text = "";
    const std::string_view seen(text, strnlen(text, maxLength + 1));
    cut = cut || seen.size() > maxLength;
    return AM_truncateUtf8(seen, maxLength);
}

} // namespace

i32 AM_InterComObject::parseMessage(InterComAddress addressees[], char* subject, char* content,
                                    const char* text, i32 length) {
    const size_t bytes = text && length > 0 ? strnlen(text, static_cast<size_t>(length)) : 0;
    std::string_view rest(text ? text : "", bytes);
    AddressList addresses(addressees);
    Field subjectField(subject, InterCom_SUBJECT_LEN);
    Field contentField(content, bytes);
    // What stands in front of the first mark belongs to no field.
    rest.remove_prefix(findMark(rest));
    while (!rest.empty()) {
        const std::string_view mark = rest.substr(0, 2);
        rest.remove_prefix(2);
        const std::string_view piece = rest.substr(0, findMark(rest));
        rest.remove_prefix(piece.size());
        if (mark == k_addresseeMark)
            addresses.append(piece);
        else if (mark == k_subjectMark)
            subjectField.append(piece);
        else
            contentField.append(piece);
    }
    addresses.logLosses();
    if (subjectField.wasCut())
        AM_Log("WARNING: InterCom subject longer than %d bytes, cut: %s", InterCom_SUBJECT_LEN,
               subject);
    return addresses.size();
}

bool AM_InterComObject::formatMessage(char* text, i32 capacity, const char* addressee,
                                      const char* subject, const char* content) {
    if (!text || capacity <= 0) return false;
    const size_t room = static_cast<size_t>(capacity) - 1;
    bool cut = false;
    Field field(text, room);
    field.append(k_addresseeMark);
    field.append(clipped(addressee, k_addresseeField, cut));
    field.append(k_subjectMark);
    field.append(clipped(subject, InterCom_SUBJECT_LEN, cut));
    field.append(k_contentMark);
    field.append(clipped(content, room, cut));
    return !cut && !field.wasCut();
}

// --- AM_InterComObject -------------------------------------------------------------------

AM_InterComObject::AM_InterComObject(AM_AudioMan* owner, const char* name, i32 inMaxMessages,
                                     i32 inMaxMessageLength)
    : AM_AudioObject(owner, name), maxMessages(std::max(inMaxMessages, 2)),
      maxMessageLength(std::max(inMaxMessageLength, InterCom_MIN_MESSAGE)),
      ring(std::make_unique<char[]>(static_cast<size_t>(maxMessages) *
                                    static_cast<size_t>(maxMessageLength))),
      taken(std::make_unique<char[]>(static_cast<size_t>(maxMessageLength))) {
    AM_ASSERT(inMaxMessageLength > InterCom_MIN_MESSAGE,
              "inMaxMessageLength > ( InterCom_MAX_ADDRESSES * InterCom_ADDRESSEE_LEN ) + "
              "InterCom_SUBJECT_LEN and margin");
    setupObject(0, k_numRows, 1, 0, 0);
    const f32 longest = static_cast<f32>(maxMessageLength - 1);
    ParameterInfo("iMSG", "intercom MSG", k_complexText, 0, longest, 0)
        .withFlags(k_flagSession)
        .storeTo(rows[k_rowSend]);
    ParameterInfo("iMSGt", "MSG transmit", k_complexText, 0, longest, 0)
        .withFlags(k_flagSession)
        .storeTo(rows[k_rowReceive]);
    ParameterInfo("MSGqd", "messages queued", k_meter, 0, static_cast<f32>(maxMessages), 0)
        .storeTo(rows[k_rowQueued]);
}

const ParameterInfo* AM_InterComObject::getParameterInfo(i32 index) {
    return index >= 0 && index < k_numRows ? &rows[index] : nullptr;
}

void* AM_InterComObject::getParameterPointer(i32 index) {
    return index == k_rowQueued ? &numQueued : nullptr;
}

// --- to the editor -----------------------------------------------------------------------

bool AM_InterComObject::tryPost(const char* addressee, const char* subject, const char* content) {
    bool full, whole;
    {
        const QueueLock lock;
        if (!lock.isHeld()) return false;
        const std::atomic_ref<f32> count(numQueued);
        const f32 waiting = count.load(std::memory_order_relaxed);
        // The count stops one short of the slots; from there on each message pushes one out.
        full = waiting >= static_cast<f32>(maxMessages - 1);
        advance(writeIndex);
        if (full) advance(readIndex);
        char* slot =
            ring.get() + static_cast<size_t>(writeIndex) * static_cast<size_t>(maxMessageLength);
        whole = formatMessage(slot, maxMessageLength, addressee, subject, content);
        if (!full) count.store(waiting + 1, std::memory_order_relaxed);
    }
    if (full) AM_Log("numMessagesQueued >= maxNumMessages");
    if (!whole) AM_Log("WARNING: InterCom message cut to %d bytes", maxMessageLength - 1);
    return true;
}

void AM_InterComObject::post(const char* addressee, const char* subject, const char* content) {
    if (tryPost(addressee, subject, content) || !busyLogged.first()) return;
    AM_Log("WARNING: InterCom busy, a message of the audio thread is left out");
}

const void* AM_InterComObject::getParameterData(i32 index) {
    if (index != k_rowReceive) return nullptr;
    const std::atomic_ref<f32> count(numQueued);
    // An editor that only looks does not touch the lock.
    if (count.load(std::memory_order_relaxed) <= 0.5f) return nullptr;
    const QueueLock lock;
    const f32 waiting = count.load(std::memory_order_relaxed);
    if (!lock.isHeld() || waiting <= 0.5f) return nullptr;
    advance(readIndex);
    count.store(std::max(waiting - 1, 0.0f), std::memory_order_relaxed);
    const size_t length = static_cast<size_t>(maxMessageLength);
    std::memcpy(taken.get(), ring.get() + static_cast<size_t>(readIndex) * length, length);
    return taken.get();
}

// --- to the audio side -------------------------------------------------------------------

const char* AM_InterComObject::getCurrentSubject() {
    const Broadcast* record = currentBroadcast(this);
    return record ? record->currentSubject : nullptr;
}

const char* AM_InterComObject::getCurrentContent() {
    const Broadcast* record = currentBroadcast(this);
    return record ? record->currentContent : nullptr;
}

void AM_InterComObject::setParameterComplex(i32* index, const void* data, i32 size) {
    if (!index || *index != k_rowSend || !data || size <= 0) return;
    InterComAddress addressees[InterCom_MAX_ADDRESSES];
    char subject[InterCom_SUBJECT_LEN + 1];
    std::vector<char> content(static_cast<size_t>(size) + 1);
    const i32 count =
        parseMessage(addressees, subject, content.data(), static_cast<const char*>(data), size);
    u32 mask = 0;
    u32 bits[InterCom_MAX_ADDRESSES] = {};
    for (i32 i = 0; i < count; ++i)
        mask |= bits[i] = classBit(addressees[i]);
    if (mask != 0) broadcast(mask, subject, content.data());
    for (i32 i = 0; i < count; ++i)
        if (bits[i] == 0) deliver(addressees[i], subject, content.data());
}

void AM_InterComObject::broadcast(u32 mask, const char* subject, const char* content) {
    const BroadcastScope scope(*this, subject, content);
    sendMessage(mask, AM_Message_InterCom, 0, nullptr);
}

void AM_InterComObject::deliver(const char* address, const char* subject, const char* content) {
    if (AM_AudioObject* object = manager->findObject(address))
        object->receiveCom(subject, content);
    else if (std::strcmp(address, InterCom_PREFERENCES) == 0)
        manager->receivePreferencesCom(subject, content);
}
