#include "Wrong.h"

int exported(int value) { return value; }
int markedLocal(int value) { return value; }
int forgotten(int value) { return value; }
int forgottenVariable = 1;

Record::Record() = default;
Record::~Record() = default;
Record::Record(Record&&) noexcept = default;
Record& Record::operator=(Record&&) noexcept = default;

int Class::forgottenStatic = 1;
void Class::forgottenMethod() {}
void Class::forgottenProtected() {}
void Class::privateMethod() {}

bool inner::Exported::method() const { return true; }

Polymorphic::Polymorphic() = default;
Polymorphic::~Polymorphic() = default;
int Polymorphic::forgottenVirtual() { return 1; }
