import unittest

from declaration_case import DeclarationCase
from declarations.rust_reader import read_bindings

SAMPLE = """
pub type Ticks = u32;

#[repr(transparent)]
pub struct Gear(pub NSInteger);
impl Gear {
    #[doc(alias = "GearLow")]
    pub const Low: Self = Self(-3);
    /// The best.
    #[doc(alias = "GearHigh")]
    #[deprecated]
    pub const High: Self = Self(0x10);
}

pub struct Lamps(pub u32);
bitflags::bitflags! {
    impl Lamps: u32 {
        #[doc(alias = "kLampFront")]
        const Front = 1<<0;
        #[doc(alias = "kLampBoth")]
        const Both = Lamps::Front.0|1<<1;
        #[doc(alias = "kLampAll")]
        const All = !0;
        const _ = !0;
    }
}

#[repr(u32)] // closed
#[derive(Clone)]
pub enum Side {
    #[doc(alias = "SideLeft")]
    Left = 4,
}

pub const kWheelCount: c_uint = 4;

#[repr(C)]
pub struct Spot {
    pub x: CGFloat,
    pub ticks: Ticks,
}

extern_class!(
    #[unsafe(super(NSObject))]
    pub struct Vehicle;
);

extern_class!(
    #[unsafe(super(Vehicle, NSObject))]
    pub struct Car;
);

extern_conformance!(
    unsafe impl Parked for Car {}
);

impl Car {
    extern_methods!(
        /// Drives.
        #[unsafe(method(driveTo:gear:handler:))]
        #[unsafe(method_family = none)]
        pub fn driveTo_gear_handler(
            &self,
            spot: Spot,
            gear: Gear,
            handler: Option<&block2::SendableBlock<'static, fn(*mut NSError, Bool) -> Ticks>>,
        ) -> Option<Retained<NSString>>;

        // -init (unavailable)

        #[unsafe(method(carWithName:))]
        // required for soundness
        #[unsafe(method_family = none)]
        pub fn carWithName(name: &NSString, mtm: MainThreadMarker) -> Retained<Self>;

        #[unsafe(method(start:error:_))]
        #[unsafe(method_family = none)]
        pub unsafe fn start_error(&self, lamps: Lamps) -> Result<(), Retained<NSError>>;

        #[unsafe(method(load:error:_))]
        pub fn load_error(
            &self,
            from: &NSArray<NSString>,
        ) -> Result<Retained<Self>, Retained<NSError>>;
    );
}

impl<ObjectType: Message> NSArray<ObjectType> {
    extern_methods!(
        #[unsafe(method(first))]
        pub fn first(&self) -> Retained<ObjectType>;
    );
}

extern_protocol!(
    pub unsafe trait Parked: NSObjectProtocol {
        #[optional]
        #[unsafe(method(car:didPark:))]
        #[unsafe(method_family = none)]
        fn car_didPark(&self, car: &Car, by: &ProtocolObject<dyn Parked>);
    }
);

mod private_CarPolishing {}
pub unsafe trait CarPolishing {
    extern_methods!(
        #[unsafe(method(polish))]
        fn polish(&self);
    );
}

impl Engine {
    pub unsafe fn start(&self) -> Ticks {
        extern "C-unwind" {
            fn EngineStart(
                engine: &CFEngine,
                out: &mut Option<CFRetained<CFString>>,
                count: *mut usize,
                callback: Option<unsafe extern "C-unwind" fn(*mut c_void, ...)>,
            ) -> Ticks;
        }
        unsafe { EngineStart(self) }
    }
}

pub fn EngineName() -> Retained<NSString> {
    extern "C-unwind" {
        fn EngineName() -> *mut NSString;
    }
    let ret = unsafe { EngineName() };
    ret.expect("function was marked as returning non-null, but actually returned NULL")
}

// TODO: pub fn EngineSpot(x: CGFloat,) -> Spot;

#[inline]
pub fn EngineRuns() -> bool {
    extern "C-unwind" {
        fn EngineRuns() -> libc::boolean_t;
    }
    let ret = unsafe { EngineRuns() };
    ret != 0
}

extern "C" {
    pub static kEngineKey: &'static CFString;
}

extern "C" {
    pub static EngineDomain: Option<&'static NSString>;
}
"""

BY_HAND = """
pub unsafe trait NSObjectProtocol {
    fn isEqual(&self, other: Option<&AnyObject>) -> bool
    where
        Self: Sized,
    {
        unsafe { msg_send![self, isEqual: other] }
    }
    fn nothing(&self) {}
}
extern_c! {
    pub fn class_getName(cls: *const AnyClass) -> *const c_char;
}
"""


class RustReader(DeclarationCase):
    def setUp(self):
        files = {"A/a.rs": SAMPLE, "b.rs": BY_HAND, "tests/c.rs": "pub const kTest: c_int = 1;"}
        self.facts = read_bindings(self.folder(files))

    def assert_method(self, name, text, nullability=""):
        signature = self.facts.methods[name]
        self.assertEqual((signature.text(), signature.nullability()), (text, nullability))

    def test_classes_know_their_superclass_and_protocols(self):
        self.assertEqual(self.facts.superclasses, {"Vehicle": "NSObject", "Car": "Vehicle"})
        self.assertEqual(self.facts.conformances, {"Car": ["Parked"], "Parked": ["NSObject"]})
        self.assertEqual(self.facts.protocols, {"Parked"})

    def test_methods_have_their_types(self):
        self.assert_method(
            "-[Car driveTo:gear:handler:]",
            "NSString (Spot, Gear, u32 (^)(NSError, bool))",
            "???",
        )

    def test_receivers_and_markers_are_no_arguments(self):
        self.assert_method("+[Car carWithName:]", "instancetype (NSString)", "!!")

    def test_an_error_that_became_a_result_is_an_argument_again(self):
        self.assert_method("-[Car start:error:]", "bool (Lamps, NSError*)", "??")
        self.assert_method(
            "-[Car load:error:]", "instancetype (NSArray<NSString>, NSError*)", "?!??"
        )

    def test_type_parameters_are_any_object(self):
        self.assert_method("-[NSArray first]", "id ()", "!")

    def test_methods_of_protocols_can_be_optional(self):
        self.assert_method("-[Parked car:didPark:]", "void (Car, id<Parked>)", "!!")
        self.assertTrue(self.facts.methods["-[Parked car:didPark:]"].is_optional)
        self.assertFalse(self.facts.methods["-[Car start:error:]"].is_optional)

    def test_a_category_belongs_to_its_class(self):
        self.assert_method("-[Car polish]", "void ()")

    def test_what_is_unavailable_is_remembered(self):
        self.assertEqual(self.facts.unavailable, {"-[Car init]"})

    def test_methods_by_hand_are_found_by_what_they_send(self):
        self.assert_method("-[NSObject isEqual:]", "bool (id)", "?")
        self.assertNotIn("-[NSObject nothing]", self.facts.methods)

    def test_functions_have_their_types(self):
        functions = {name: value.text() for name, value in self.facts.functions.items()}
        self.assertEqual(
            functions,
            {
                "EngineStart": "u32 (CFEngine, CFString*, u64*, void (*)(void*, ...))",
                "EngineName": "NSString ()",
                "EngineRuns": "u32 ()",
                "EngineSpot": "Spot (f64)",
                "class_getName": "i8* (Class)",
            },
        )

    def test_functions_say_what_can_be_nil(self):
        self.assertEqual(self.facts.functions["EngineStart"].nullability(), "!!????")
        self.assertEqual(self.facts.functions["EngineName"].nullability(), "!")
        self.assertEqual(self.facts.functions["class_getName"].nullability(), "..")

    def test_constants_have_their_types(self):
        constants = {
            name: (type_.name, type_.nullability) for name, type_ in self.facts.constants.items()
        }
        self.assertEqual(
            constants, {"kEngineKey": ("CFString", "!"), "EngineDomain": ("NSString", "?")}
        )

    def test_enumerations_have_their_base_and_values(self):
        self.assertEqual(self.facts.enumerations, {"Gear": "i64", "Lamps": "u32", "Side": "u32"})
        names = (
            "GearLow",
            "GearHigh",
            "kLampFront",
            "kLampBoth",
            "kLampAll",
            "SideLeft",
            "kWheelCount",
        )
        values = [self.facts.enumerators[name] for name in names]
        self.assertEqual(values, [-3, 16, 1, 3, 0xFFFFFFFF, 4, 4])

    def test_structures_have_their_fields(self):
        self.assertEqual(self.facts.structures, {"Spot": "x: f64, ticks: u32"})

    def test_tests_are_no_source(self):
        self.assertNotIn("kTest", self.facts.enumerators)


if __name__ == "__main__":
    unittest.main()
