// References to the objects of the Windows Imaging Component, and the library that makes them.
#ifndef FORMATS_WINDOWS_COM_H
#define FORMATS_WINDOWS_COM_H

#include <windows.h>

#include <wincodec.h>

#include <utility>

namespace formats {

// A reference; null when there is no object.
template <class Object>
class ComPtr {
public:
    ComPtr() = default;
    explicit ComPtr(Object* object) : object_(object) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() {
        if (object_ != nullptr) object_->Release();
    }

    Object* get() const { return object_; }
    Object* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    // Where a function stores a reference.
    Object** out() { return &object_; }

private:
    Object* object_ = nullptr;
};

// The thread may use objects while this one exists. A thread that has its own agreement with the system keeps
// that.
class ComThread {
public:
    ComThread() : isStarted_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~ComThread() {
        if (isStarted_) CoUninitialize();
    }
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;

private:
    bool isStarted_;
};

inline ComPtr<IWICImagingFactory> imagingFactory() {
    ComPtr<IWICImagingFactory> factory;
    CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                     reinterpret_cast<void**>(factory.out()));
    return factory;
}

}  // namespace formats

#endif
