#include <cxxabi.h>

#include <cstdint>
#include <typeinfo>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/References.h"

// An Objective-C exception is a C++ exception that holds a reference to the thrown object. Catch
// clauses name their class through a type information of this runtime's own, which looks at the
// object itself instead of a static type.

namespace objc {

struct ObjectTypeInfo final : std::type_info {
  explicit ObjectTypeInfo(const char* name) : std::type_info(name) {}
  ~ObjectTypeInfo() override;

  // The thrown "type" is a pointer, and what is caught is its value. libc++abi asks the third of
  // virtual functions that its headers do not show.
#ifdef _LIBCPP_VERSION
  virtual void first() const {}
  virtual void second() const {}
  virtual bool catches(const std::type_info* thrown, void*& object) const {
    if (!isCaught(thrown, object)) return false;
    object = *static_cast<void**>(object);
    return true;
  }
#else
  [[nodiscard]] bool __is_pointer_p() const override {
    return true;
  }
  bool __do_catch(const std::type_info* thrown, void** object, unsigned /*outer*/) const override {
    return isCaught(thrown, object);
  }
#endif
  // `object` is where the thrown reference is.
  bool isCaught(const std::type_info* thrown, const void* object) const;

  const Class* caught = nullptr;  // none for `id`
};

// Out of line, so that the table of virtual functions is emitted here.
ObjectTypeInfo::~ObjectTypeInfo() = default;

}  // namespace objc

// The compiler emits a type information for every class that a clause catches; it refers to the
// table of virtual functions under this name.
asm(R"(
.globl objc_ehtype_vtable
.set objc_ehtype_vtable, _ZTVN4objc14ObjectTypeInfoE
)");

extern "C" {

extern objc::ObjectTypeInfo OBJC_EHTYPE_id;
objc::ObjectTypeInfo OBJC_EHTYPE_id("id");

[[noreturn]] void objc_exception_throw(objc::Object* object) {
  auto* thrown = static_cast<objc::Object**>(abi::__cxa_allocate_exception(sizeof(objc::Object*)));
  *thrown = objc_retain(object);
  const auto destroy = [](void* address) {
    objc_release(*static_cast<objc::Object**>(address));
  };
  abi::__cxa_throw(thrown, &OBJC_EHTYPE_id, destroy);
}

void* objc_begin_catch(void* exception) {
  return abi::__cxa_begin_catch(exception);
}

void objc_end_catch() {
  abi::__cxa_end_catch();
}

[[noreturn]] void objc_exception_rethrow() {
  abi::__cxa_rethrow();
}

int __gxx_personality_v0(int version, int actions, std::uint64_t exceptionClass, void* exception,
                         void* context);

int __objc_personality_v0(int version, int actions, std::uint64_t exceptionClass, void* exception,
                          void* context) {
  return __gxx_personality_v0(version, actions, exceptionClass, exception, context);
}

}  // extern "C"

namespace objc {

bool ObjectTypeInfo::isCaught(const std::type_info* thrown, const void* object) const {
  if (thrown != &OBJC_EHTYPE_id) return false;
  return caught == nullptr || inherits((*static_cast<Object* const*>(object))->isa, caught);
}

}  // namespace objc
