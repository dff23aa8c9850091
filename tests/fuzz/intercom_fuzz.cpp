// InterCom messages of any bytes: they come apart within their bounds, what they were taken to is
// written and read again as the same, and sending or posting them does no harm.
#include "AM_InterComObject.h"
#include "AudioModulesFrame/TestManager.h"
#include "fuzz/FuzzTarget.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

struct Instance {
    Instance() {
        man.initialize();
        com = dynamic_cast<AM_InterComObject*>(man.findObject("iCom"));
        if (!com) std::abort();
    }
    TestMan man;
    AM_InterComObject* com;
};

struct Message {
    explicit Message(const std::vector<char>& text) : content(text.size() + 1) {
        count = AM_InterComObject::parseMessage(addressees, subject, content.data(), text.data(),
                                                static_cast<i32>(text.size()));
        if (count < 0 || count > InterCom_MAX_ADDRESSES) std::abort();
        for (i32 i = 0; i < count; ++i) {
            if (i > 0) addresses += ',';
            addresses += addressees[i];
        }
    }
    std::string all() const { return addresses + '\n' + subject + '\n' + content.data(); }
    // Two pieces of a field may make a mark where they meet.
    bool hasMarks() const {
        const std::string text = all();
        return text.find("\\@") != text.npos || text.find("\\#") != text.npos ||
               text.find("\\+") != text.npos;
    }
    InterComAddress addressees[InterCom_MAX_ADDRESSES];
    char subject[InterCom_SUBJECT_LEN + 1];
    std::vector<char> content;
    std::string addresses;
    i32 count;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    static Instance instance;
    // A copy of the exact size, so that a byte read behind it is found.
    const std::vector<char> text(data, data + size);
    const Message message(text);

    std::vector<char> written(message.all().size() + 7);
    const bool whole = AM_InterComObject::formatMessage(
        written.data(), static_cast<i32>(written.size()), message.addresses.c_str(),
        message.subject, message.content.data());
    if (!whole) std::abort();
    if (!message.hasMarks() && Message(written).all() != message.all()) std::abort();

    AM_InterComObject& com = *instance.com;
    i32 row = AM_InterComObject::k_rowSend;
    com.setParameterComplex(&row, text.data(), static_cast<i32>(size));
    while (com.getParameterData(AM_InterComObject::k_rowReceive)) {
    }
    com.post(message.addresses.c_str(), message.subject, message.content.data());
    const auto* read = static_cast<const char*>(com.getParameterData(1));
    if (!read || strnlen(read, 512) > 511 || std::strncmp(read, written.data(), 200) != 0)
        std::abort();
    return 0;
}
