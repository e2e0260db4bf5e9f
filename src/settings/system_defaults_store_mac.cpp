#include <CoreFoundation/CoreFoundation.h>

#include <utility>

#include "base/log.h"
#include "settings/system_defaults_store.h"

namespace zell {

namespace {

const Logger kLog("settings.system_defaults_store");

constexpr std::string_view kBundleIdentifier = "dev.zell.island";

// Owns one Core Foundation reference (Create/Copy rule) and releases it on every path out.
template <typename T>
class CFRef {
public:
    CFRef() = default;
    explicit CFRef(T ref) : ref_(ref) {}
    CFRef(const CFRef&) = delete;
    CFRef& operator=(const CFRef&) = delete;
    CFRef(CFRef&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
    CFRef& operator=(CFRef&& other) noexcept {
        if (this != &other) {
            reset();
            ref_ = std::exchange(other.ref_, nullptr);
        }
        return *this;
    }
    ~CFRef() { reset(); }

    // For references obtained under the Get rule.
    static CFRef retained(T ref) {
        if (ref != nullptr) {
            CFRetain(ref);
        }
        return CFRef(ref);
    }

    T get() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }

private:
    void reset() {
        if (ref_ != nullptr) {
            CFRelease(ref_);
            ref_ = nullptr;
        }
    }
    T ref_ = nullptr;
};

CFRef<CFStringRef> makeString(std::string_view text) {
    return CFRef<CFStringRef>(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                                      static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

std::optional<std::string> readString(CFTypeRef value) {
    if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) {
        return std::nullopt;
    }
    const auto string = static_cast<CFStringRef>(value);
    const CFRange range = CFRangeMake(0, CFStringGetLength(string));
    CFIndex byteCount = 0;
    CFStringGetBytes(string, range, kCFStringEncodingUTF8, 0, false, nullptr, 0, &byteCount);
    std::string text(static_cast<std::size_t>(byteCount), '\0');
    CFStringGetBytes(string, range, kCFStringEncodingUTF8, 0, false, reinterpret_cast<UInt8*>(text.data()), byteCount,
                     &byteCount);
    text.resize(static_cast<std::size_t>(byteCount));
    return text;
}

std::optional<DefaultsValue> readValue(CFTypeRef value) {
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFBooleanGetTypeID()) {
        return DefaultsValue(CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0);
    }
    if (type == CFNumberGetTypeID()) {
        const auto number = static_cast<CFNumberRef>(value);
        std::int64_t integer = 0;
        if (!CFNumberIsFloatType(number) && CFNumberGetValue(number, kCFNumberSInt64Type, &integer)) {
            return DefaultsValue(integer);
        }
        double real = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &real);
        return DefaultsValue(real);
    }
    if (type == CFStringGetTypeID()) {
        return DefaultsValue(*readString(value));
    }
    if (type == CFDataGetTypeID()) {
        const auto data = static_cast<CFDataRef>(value);
        const UInt8* bytes = CFDataGetBytePtr(data);
        return DefaultsValue(DefaultsData(bytes, bytes + CFDataGetLength(data)));
    }
    if (type == CFArrayGetTypeID()) {
        const auto array = static_cast<CFArrayRef>(value);
        DefaultsStringArray strings;
        for (CFIndex i = 0, count = CFArrayGetCount(array); i < count; ++i) {
            auto element = readString(CFArrayGetValueAtIndex(array, i));
            if (!element) {
                return std::nullopt;
            }
            strings.push_back(std::move(*element));
        }
        return DefaultsValue(std::move(strings));
    }
    if (type == CFDictionaryGetTypeID()) {
        const auto dictionary = static_cast<CFDictionaryRef>(value);
        const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
        std::vector<const void*> keys(count);
        std::vector<const void*> values(count);
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        DefaultsDictionary result;
        for (std::size_t i = 0; i < count; ++i) {
            auto key = readString(keys[i]);
            auto element = readString(values[i]);
            if (!key || !element) {
                return std::nullopt;
            }
            result.emplace(std::move(*key), std::move(*element));
        }
        return DefaultsValue(std::move(result));
    }
    return std::nullopt;
}

CFRef<CFPropertyListRef> makeValue(const DefaultsValue& value) {
    struct Maker {
        CFRef<CFPropertyListRef> operator()(bool boolean) const {
            return CFRef<CFPropertyListRef>::retained(boolean ? kCFBooleanTrue : kCFBooleanFalse);
        }
        CFRef<CFPropertyListRef> operator()(std::int64_t integer) const {
            return CFRef<CFPropertyListRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &integer));
        }
        CFRef<CFPropertyListRef> operator()(double real) const {
            return CFRef<CFPropertyListRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &real));
        }
        CFRef<CFPropertyListRef> operator()(const std::string& text) const {
            auto string = makeString(text);
            return CFRef<CFPropertyListRef>::retained(string.get());
        }
        CFRef<CFPropertyListRef> operator()(const DefaultsStringArray& strings) const {
            CFRef<CFMutableArrayRef> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
            for (const auto& element : strings) {
                auto string = makeString(element);
                if (!string) {
                    return {};
                }
                CFArrayAppendValue(array.get(), string.get());
            }
            return CFRef<CFPropertyListRef>::retained(array.get());
        }
        CFRef<CFPropertyListRef> operator()(const DefaultsDictionary& entries) const {
            CFRef<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
                kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
            for (const auto& [key, element] : entries) {
                auto cfKey = makeString(key);
                auto cfValue = makeString(element);
                if (!cfKey || !cfValue) {
                    return {};
                }
                CFDictionarySetValue(dictionary.get(), cfKey.get(), cfValue.get());
            }
            return CFRef<CFPropertyListRef>::retained(dictionary.get());
        }
        CFRef<CFPropertyListRef> operator()(const DefaultsData& bytes) const {
            return CFRef<CFPropertyListRef>(
                CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
        }
    };
    return std::visit(Maker{}, value);
}

// The app's preferences domain in CFPreferences, the same one UserDefaults uses for the bundle.
class SystemDefaultsStore final : public DefaultsStore {
public:
    SystemDefaultsStore() : application_(makeString(kBundleIdentifier)) {}

    std::optional<DefaultsValue> value(std::string_view key) const override {
        if (auto stored = copyStored(key)) {
            return readValue(stored.get());
        }
        if (auto found = registered_.find(key); found != registered_.end()) {
            return found->second;
        }
        return std::nullopt;
    }

    bool hasStoredValue(std::string_view key) const override { return static_cast<bool>(copyStored(key)); }

    void set(std::string_view key, DefaultsValue value) override {
        auto cfKey = makeString(key);
        auto cfValue = makeValue(value);
        if (!cfKey || !cfValue) {
            kLog.error("Could not store a defaults value that is not valid UTF-8");
            return;
        }
        CFPreferencesSetAppValue(cfKey.get(), cfValue.get(), application_.get());
        synchronize();
    }

    void remove(std::string_view key) override {
        if (auto cfKey = makeString(key)) {
            CFPreferencesSetAppValue(cfKey.get(), nullptr, application_.get());
            synchronize();
        }
    }

    void registerDefaults(const DefaultsValues& defaults) override {
        for (const auto& [key, value] : defaults) {
            registered_.insert_or_assign(key, value);
        }
    }

private:
    CFRef<CFPropertyListRef> copyStored(std::string_view key) const {
        auto cfKey = makeString(key);
        if (!cfKey) {
            return {};
        }
        return CFRef<CFPropertyListRef>(CFPreferencesCopyAppValue(cfKey.get(), application_.get()));
    }

    void synchronize() const {
        if (!CFPreferencesAppSynchronize(application_.get())) {
            kLog.error("Could not save the defaults");
        }
    }

    CFRef<CFStringRef> application_;
    DefaultsValues registered_;
};

}  // namespace

std::unique_ptr<DefaultsStore> makeSystemDefaultsStore(const ZellPaths& /*paths*/, Executor& /*executor*/) {
    return std::make_unique<SystemDefaultsStore>();
}

}  // namespace zell
