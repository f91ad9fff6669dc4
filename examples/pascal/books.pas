{ Keeps a list of books in a file, in Free Pascal: first early bound, through the interfaces of the
  unit Brindlex_TLB, then late bound, by names alone. The record and its creator are classes of this
  program. }
program books;

{$mode delphi}
{$apptype console}

uses
  Windows, ActiveX, ComObj, Variants, SysUtils, Brindlex_TLB, LateBound;

type
  { The record: a book with a title and a price. }
  TBook = class(TLateBound)
  private
    FTitle: WideString;
    FPrice: Double;
  protected
    function ReadMember(const Name: string; out Value: OleVariant): Boolean; override;
    function WriteMember(const Name: string; const Value: OleVariant): Boolean; override;
  public
    constructor Create(const Title: WideString; Price: Double);
  end;

  { The creator that the component asks for new books. }
  TCreateBook = class(TLateBound)
  protected
    function ReadMember(const Name: string; out Value: OleVariant): Boolean; override;
  end;

constructor TBook.Create(const Title: WideString; Price: Double);
begin
  inherited Create(['Title', 'Price', 'GetMemberNames']);
  FTitle := Title;
  FPrice := Price;
end;

{ The fields in the order in which they are written, each under itself as key. }
function MemberNames: _clsCollection;
begin
  Result := Create_clsCollection;
  Result.Add('Title', 'Title', EmptyParam, EmptyParam);
  Result.Add('Price', 'Price', EmptyParam, EmptyParam);
end;

function TBook.ReadMember(const Name: string; out Value: OleVariant): Boolean;
begin
  Result := True;
  if Name = 'Title' then
    Value := FTitle
  else if Name = 'Price' then
    Value := FPrice
  else
    Value := MemberNames as IDispatch;
end;

function TBook.WriteMember(const Name: string; const Value: OleVariant): Boolean;
begin
  Result := True;
  if Name = 'Title' then
    FTitle := Value
  else if Name = 'Price' then
    FPrice := VarAsType(Value, varDouble) { restoring brings every value as text }
  else
    Result := False;
end;

function TCreateBook.ReadMember(const Name: string; out Value: OleVariant): Boolean;
begin
  Result := True;
  Value := TBook.Create('', 0) as IDispatch;
end;

procedure Require(Holds: Boolean; const What: string);
begin
  if Holds then Exit;
  WriteLn('FAILED: ', What);
  Halt(1);
end;

function NewPath: WideString;
begin
  Result := GetTempDir(False) + 'pascal books.txt';
end;

function Book(const Title: WideString; Price: Double): OleVariant;
begin
  Result := TBook.Create(Title, Price) as IDispatch;
end;

function Creator: IDispatch;
begin
  Result := TCreateBook.Create(['GetNewObject']);
end;

{ "Title costs Price" for every book, as For Each would go. }
function Listed(const List: _clsCollection): string;
var
  Entries: IEnumVariant;
  Entry: OleVariant;
  Count: ULong;
begin
  Result := '';
  Entries := List._NewEnum as IEnumVariant;
  while Entries.Next(1, Entry, Count) = S_OK do
  begin
    Result := Result + string(Entry.Title) + ' costs ' + string(Entry.Price) + LineEnding;
    Entry := Unassigned;
  end;
end;

{ Shows an error that the component raised, and checks its number. }
procedure Show(Error: EOleException; Number: Integer);
begin
  WriteLn('Error ', Error.ErrorCode and $FFFF, ' in ', Error.Source, ': ', Error.Message);
  Require(Error.ErrorCode and $FFFF = Number, 'the error is the expected one');
end;

procedure ConvertEarlyBound;
var
  Bases: _clsBases;
  Digits, Group: Integer;
  Tolerance: Double;
begin
  Bases := Create_clsBases;
  Digits := -1;
  Tolerance := 1E-27;
  Group := 0;
  Require(Bases.ConvertDec2Base(2026, 16, Digits, Tolerance, Group) = '7EA', '2026 is 7EA in base 16');
  Require(Bases.ConvertBase2Dec('7EA', 16) = 2026, 'and back');
  Tolerance := -0.5;
  Require(Bases.ConvertDec2Base(2.75, 16, Digits, Tolerance, Group) = '2.C', '2.75 is 2.C in base 16');
  Require(Tolerance = 0.5, 'the variable receives the absolute value of the tolerance');
  try
    Bases.ConvertBase2Dec('11', 1);
    Require(False, 'there is no base 1');
  except
    on E: EOleException do
    begin
      Show(E, 13);
      Require((E.Source = 'ConvertBase2Dec') and (E.Message = 'Invalid Base'), 'with its description');
    end;
  end;
end;

procedure EarlyBound;
var
  List, Restored: _clsCollection;
  Saver: _clsCollectionSaveRestore;
  Files: _clsAppFiles;
  Text: WideString;
begin
  List := Create_clsCollection;
  Saver := Create_clsCollectionSaveRestore;
  Files := Create_clsAppFiles;
  List.Add(Book('Moby Dick', 12.5), EmptyParam, EmptyParam, EmptyParam);
  List.Add(Book('Emma', 9), EmptyParam, EmptyParam, EmptyParam);

  Text := Saver.AsDelimitedFromCollection(List, EmptyParam, EmptyParam, EmptyParam);
  Require(Files.SaveTextFile(NewPath, Text, False), 'the text is saved');
  Require(Files.ReadTextFile(NewPath, False) = Text, 'the file holds the text');
  Require(Files.SaveTextFileSafely(NewPath, Text, False), 'the text is saved safely');
  Text := Files.ReadTextFile(NewPath, False);
  DeleteFile(NewPath);

  Restored := Saver.AsDelimitedToCollection(Text, Creator, EmptyParam, EmptyParam, 'Title');
  Require(Restored <> nil, 'the file becomes a list again');
  Require(Restored.Count = 2, 'with as many books');
  Write(Listed(Restored));
  Require(Listed(Restored) = Listed(List), 'every book is as it was');
  Require(Restored.Get_Item('EMMA').Title = 'Emma', 'Emma is found by her key');
  try
    Restored.Get_Item('no such book');
    Require(False, 'an absent key is an error');
  except
    on E: EOleException do
      Show(E, 5);
  end;
end;

procedure ConvertLateBound;
var
  Bases, Tolerance: OleVariant;
begin
  Bases := CreateOleObject('Brindlex.clsBases');
  WriteLn('2026 in base 16: ', string(Bases.ConvertDec2Base(2026, 16)));
  Require(Bases.ConvertDec2Base(2026, 16) = '7EA', '2026 is 7EA in base 16');
  Require(Bases.ConvertBase2Dec('7EA', 16) = 2026, 'and back');
  Tolerance := -0.5;
  Require(Bases.ConvertDec2Base(2.75, 16, EmptyParam, Tolerance) = '2.C', '2.75 is 2.C in base 16');
  Require(Tolerance = 0.5, 'the variable receives the absolute value of the tolerance');
  try
    Bases.ConvertBase2Dec('11', 1);
    Require(False, 'there is no base 1');
  except
    on E: EOleException do
      Show(E, 13);
  end;
end;

procedure LateBound;
var
  List, Saver, Files, Restored: OleVariant;
  Text: OleVariant;
begin
  List := CreateOleObject('Brindlex.clsCollection');
  Saver := CreateOleObject('Brindlex.clsCollectionSaveRestore');
  Files := CreateOleObject('Brindlex.clsAppFiles');
  List.Add(Book('Moby Dick', 12.5));
  List.Add(Book('Emma', 9));

  Text := Saver.AsDelimitedFromCollection(List);
  Require(Files.SaveTextFile(NewPath, Text, False), 'the text is saved');
  Require(Files.ReadTextFile(NewPath, False) = Text, 'the file holds the text');
  Require(Files.SaveTextFileSafely(NewPath, Text, False), 'the text is saved safely');
  Text := Files.ReadTextFile(NewPath, False);
  DeleteFile(NewPath);

  Restored := Saver.AsDelimitedToCollection(Text, Creator, EmptyParam, EmptyParam, 'Title');
  Require(Restored.Count = 2, 'the file becomes a list again');
  Require(Restored.Item('EMMA').Price = 9, 'Emma is found by her key');
  Require(Restored.Item(1).Title = 'Moby Dick', 'and Moby Dick at his place');
  try
    Restored.Item(3);
    Require(False, 'a position that is not there is an error');
  except
    on E: EOleException do
      Show(E, 9);
  end;
end;

begin
  CoInitialize(nil);
  EarlyBound;
  ConvertEarlyBound;
  LateBound;
  ConvertLateBound;
  WriteLn('books: done');
end.
