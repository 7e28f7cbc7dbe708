#ifndef WRONG_H
#define WRONG_H

#if !defined(DIBSTREAM_DIBEXPORT_H)
#define DIB_EXPORT __attribute__((visibility("default")))
#define DIB_LOCAL __attribute__((visibility("hidden")))
#endif

DIB_EXPORT int exported(int);
DIB_LOCAL int markedLocal(int);
int forgotten(int);
extern int forgottenVariable;

struct Record {
    DIB_EXPORT Record();
    DIB_EXPORT ~Record();
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    Record(Record&&) noexcept;
    Record& operator=(Record&&) noexcept;
    int value() const { return 1; }
};

class Class {
public:
    static int forgottenStatic;
    void forgottenMethod();

protected:
    void forgottenProtected();

private:
    void privateMethod();
};

namespace inner {
class DIB_EXPORT Exported {
public:
    Exported() = default;
    bool method() const;
};
}  // namespace inner

class Polymorphic {
public:
    DIB_EXPORT Polymorphic();
    DIB_EXPORT virtual ~Polymorphic();
    virtual int forgottenVirtual();
};

#endif
