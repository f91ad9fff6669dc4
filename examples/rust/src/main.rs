//! Keeps a list of books in a file, in Rust, late bound. A 64-bit program needs the 64-bit component.
//!
//!     cargo build --release --target x86_64-pc-windows-gnu

#[macro_use]
extern crate winapi;

mod ole;

use ole::{Members, Object, Put, Raised, Result, Value};
use winapi::um::combaseapi::{CoInitializeEx, CoUninitialize};
use winapi::um::objbase::COINIT_APARTMENTTHREADED;

/// The record.
#[derive(Default)]
struct Book {
    title: String,
    price: f64,
}

impl Members for Book {
    fn names(&self) -> &'static [&'static str] {
        &["Title", "Price", "GetMemberNames"]
    }

    fn get(&self, name: &str) -> Value<'static> {
        match name {
            "Title" => Value::Text(self.title.clone()),
            "Price" => Value::Double(self.price),
            _ => member_names().map_or(Value::Empty, Value::Object),
        }
    }

    fn put(&mut self, name: &str, value: Put) -> bool {
        match name {
            "Title" => value.text().map(|title| self.title = title).is_some(),
            "Price" => value.double().map(|price| self.price = price).is_some(),
            _ => false,
        }
    }
}

/// The fields in the order in which they are written, each under itself as key.
fn member_names() -> Result<Object> {
    let names = Object::create("Brindlex.clsCollection")?;
    for name in ["Title", "Price"] {
        names.call("Add", [name.into(), name.into()])?;
    }
    Ok(names)
}

/// The creator that the component asks for new books.
struct CreateBook;

impl Members for CreateBook {
    fn names(&self) -> &'static [&'static str] {
        &["GetNewObject"]
    }

    fn get(&self, _name: &str) -> Value<'static> {
        Value::Object(Object::export(Book::default()))
    }
}

/// "Title costs Price" for every book.
fn listed(list: &Object) -> Result<String> {
    let mut lines = String::new();
    for book in list.entries()? {
        let title = book.call("Title", [])?.text();
        lines += &format!("{title} costs {}\n", book.call("Price", [])?.double());
    }
    Ok(lines)
}

/// Saves the text in a temporary file by `member` and returns the content of the file.
fn keep_in_file(member: &str, text: &str) -> Result<String> {
    let files = Object::create("Brindlex.clsAppFiles")?;
    let file = std::env::temp_dir().join("rust books.txt");
    let path = file.to_str().expect("the path is Unicode");
    let saved = files.call(member, [path.into(), text.into(), Value::Bool(false)])?;
    assert!(matches!(saved, Value::Bool(true)), "the text is saved");
    let content = files
        .call("ReadTextFile", [path.into(), Value::Bool(false)])?
        .text();
    std::fs::remove_file(&file).expect("the file exists");
    Ok(content)
}

fn keep_books() -> Result<()> {
    let list = Object::create("Brindlex.clsCollection")?;
    let saver = Object::create("Brindlex.clsCollectionSaveRestore")?;
    for (title, price) in [("Moby Dick", 12.5), ("Emma", 9.0)] {
        let book = Object::export(Book {
            title: title.into(),
            price,
        });
        list.call("Add", [Value::Object(book)])?;
    }

    let text = saver
        .call("AsDelimitedFromCollection", [(&list).into()])?
        .text();
    assert_ne!(text, "", "the list becomes a text");
    assert_eq!(keep_in_file("SaveTextFile", &text)?, text);
    assert_eq!(keep_in_file("SaveTextFileSafely", &text)?, text);

    let creator = Value::Object(Object::export(CreateBook));
    let restored = saver
        .call(
            "AsDelimitedToCollection",
            [
                text.as_str().into(),
                creator,
                Value::Omitted,
                Value::Omitted,
                "Title".into(),
            ],
        )?
        .object()
        .expect("the text becomes a list again");
    print!("{}", listed(&restored)?);
    assert_eq!(listed(&restored)?, listed(&list)?);

    let emma = restored
        .call("Item", ["EMMA".into()])?
        .object()
        .expect("Emma is in the list");
    assert_eq!(emma.call("Price", [])?.double(), 9.0);

    let error = restored
        .call("Item", ["no such book".into()])
        .err()
        .expect("there is no such book");
    println!("{error}");
    assert_eq!(error.number, 5);
    Ok(())
}

fn convert() -> Result<()> {
    let bases = Object::create("Brindlex.clsBases")?;
    let digits = bases
        .call("ConvertDec2Base", [Value::Int(2026), Value::Int(16)])?
        .text();
    println!("2026 in base 16: {digits}");
    assert_eq!(digits, "7EA");
    let back = bases.call("ConvertBase2Dec", [digits.as_str().into(), Value::Int(16)])?;
    assert_eq!(back.double(), 2026.0);

    // By reference: the variable receives the absolute value of the tolerance.
    let mut tolerance = -0.5;
    let limits = [
        Value::Double(2.75),
        Value::Int(16),
        Value::Omitted,
        Value::DoubleRef(&mut tolerance),
    ];
    let digits = bases.call("ConvertDec2Base", limits)?.text();
    println!("2.75 in base 16: {digits}, tolerance {tolerance}");
    assert_eq!((digits.as_str(), tolerance), ("2.C", 0.5));

    let error = bases
        .call("ConvertBase2Dec", ["1".into(), Value::Int(1)])
        .err();
    let error = error.expect("there is no base 1");
    println!("{error}");
    let expected = Raised {
        number: 13,
        source: "ConvertBase2Dec".into(),
        description: "Invalid Base".into(),
    };
    assert_eq!(error, expected);
    Ok(())
}

fn main() {
    unsafe { CoInitializeEx(std::ptr::null_mut(), COINIT_APARTMENTTHREADED) };
    keep_books()
        .and_then(|()| convert())
        .unwrap_or_else(|error| panic!("{error}"));
    assert_eq!(
        ole::alive(),
        0,
        "every object of this program has been released"
    );
    unsafe { CoUninitialize() };
    println!("books: done");
}
