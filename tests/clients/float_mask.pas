{ A host whose floating-point unit raises an exception for an overflow, a division by zero and an
  invalid operation: the default of Free Pascal and Delphi programs. The component raises its own
  errors there, the same as in any other host, and leaves the exception mask as it is: after each
  call, and in each call that it makes to an object of the host. }
program float_mask;

{$mode delphi}
{$apptype console}
{$unitpath ../../examples/pascal}

uses
  Windows, ActiveX, ComObj, Variants, SysUtils, Math, LateBound;

var
  Bases, List: OleVariant;
  DefaultMask: TFPUExceptionMask;

procedure Require(Holds: Boolean; const What: string);
begin
  if Holds then Exit;
  WriteLn('FAILED: ', What);
  Halt(1);
end;

procedure RequireDefaultMask(const After: string);
begin
  Require(GetExceptionMask = DefaultMask, 'the exception mask is unchanged after ' + After);
end;

type
  { A record, its creator, and a number that the component asks for its default value. }
  THostObject = class(TLateBound, IDispatch)
  private
    FValue: OleVariant;
  protected
    function ReadMember(const Name: string; out Value: OleVariant): Boolean; override;
    function WriteMember(const Name: string; const Value: OleVariant): Boolean; override;
  public
    function Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
  end;

var
  CallsToHost: Integer;

function NewHostObject(const Value: OleVariant): OleVariant;
var
  Made: THostObject;
begin
  Made := THostObject.Create(['Value', 'GetMemberNames', 'GetNewObject']);
  Made.FValue := Value;
  Result := Made as IDispatch;
end;

function THostObject.ReadMember(const Name: string; out Value: OleVariant): Boolean;
begin
  Result := True;
  if Name = 'Value' then
    Value := FValue
  else if Name = 'GetNewObject' then
    Value := NewHostObject(0)
  else
  begin
    Value := CreateOleObject('Brindlex.clsCollection');
    Value.Add('Value', 'Value');
  end;
end;

function THostObject.WriteMember(const Name: string; const Value: OleVariant): Boolean;
begin
  Result := True;
  FValue := Value;
end;

function THostObject.Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word;
  var Params; VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
begin
  RequireDefaultMask('a call to the host of member ' + IntToStr(DispID));
  Inc(CallsToHost);
  if DispID <> DISPID_VALUE then
    Exit(inherited Invoke(DispID, IID, LocaleID, Flags, Params, VarResult, ExcepInfo, ArgErr));
  OleVariant(VarResult^) := FValue;
  Result := S_OK;
end;

procedure CallHost;
var
  Saver, Records, Restored: OleVariant;
begin
  Saver := CreateOleObject('Brindlex.clsCollectionSaveRestore');
  Records := CreateOleObject('Brindlex.clsCollection');
  Records.Add(NewHostObject(1.5));
  Restored := Saver.AsDelimitedToCollection(Saver.AsDelimitedFromCollection(Records), NewHostObject(0));
  Require(Restored.Item(1).Value = 1.5, 'the record is restored');
  { GetMemberNames and Value of the record; GetNewObject twice, GetMemberNames, and Value, set and
    then read by this program. }
  Require(CallsToHost >= 7, 'the component has called the host');
  CallsToHost := 0;
  Require(Bases.ConvertBase(NewHostObject(255), 10, 16) = 'FF', 'the default value is converted');
  Require(CallsToHost > 0, 'the component has asked for the default value');
  RequireDefaultMask('the calls to the host');
end;

type
  TCall = function(const Argument: OleVariant): OleVariant;

function Entry(const Index: OleVariant): OleVariant;
begin
  Result := List.Item(Index);
end;

function FromBase2(const Digits: OleVariant): OleVariant;
begin
  Result := Bases.ConvertBase2Dec(Digits, 2);
end;

function FromBase10(const Digits: OleVariant): OleVariant;
begin
  Result := Bases.ConvertBase2Dec(Digits, 10);
end;

function FromBase16(const Digits: OleVariant): OleVariant;
begin
  Result := Bases.ConvertBase2Dec(Digits, 16);
end;

function ToBase16(const Number: OleVariant): OleVariant;
begin
  Result := Bases.ConvertBase(Number, 10, 16);
end;

function ToBase60(const Number: OleVariant): OleVariant;
begin
  Result := Bases.ConvertDec2Base(Number, 60);
end;

function WithTolerance(const Tolerance: OleVariant): OleVariant;
begin
  Result := Bases.ConvertDec2Base(0.3, 16, EmptyParam, Tolerance);
end;

{ The call fails with an error of the component, not with an exception of the processor. }
procedure ExpectError(const What: string; Call: TCall; const Argument: OleVariant; Number: Integer);
begin
  try
    Call(Argument);
    Require(False, What + ' fails');
  except
    on E: EOleException do
    begin
      WriteLn(What, ': error ', E.ErrorCode and $FFFF, ', ', E.Message);
      Require(E.ErrorCode and $FFFF = Number, What + ' is error ' + IntToStr(Number));
    end;
    on E: EMathError do
      Require(False, What + ': ' + E.ClassName + ', ' + E.Message);
  end;
  RequireDefaultMask(What);
end;

procedure Expect(const What: string; Call: TCall; const Argument: OleVariant; const Wanted: string);
var
  Result: string;
begin
  try
    Result := string(Call(Argument));
  except
    on E: Exception do Result := E.ClassName + ', ' + E.Message;
  end;
  WriteLn(What, ': ', Result);
  Require(Result = Wanted, What + ' is ' + Wanted);
  RequireDefaultMask(What);
end;

begin
  DefaultMask := GetExceptionMask;
  Require([exInvalidOp, exZeroDivide, exOverflow] * DefaultMask = [], 'the default mask is in force');
  CoInitialize(nil);
  Bases := CreateOleObject('Brindlex.clsBases');
  List := CreateOleObject('Brindlex.clsCollection');
  List.Add('the only entry');
  RequireDefaultMask('class creation');

  ExpectError('too many binary digits', FromBase2, StringOfChar('1', 2000), 6);
  ExpectError('too many decimal digits', FromBase10, StringOfChar('9', 400), 6);
  ExpectError('too many hexadecimal digits', FromBase16, StringOfChar('F', 300), 6);
  ExpectError('a text beyond the largest double', ToBase16, '1E400', 6);
  ExpectError('infinity in base 16', ToBase16, Infinity, 6);
  ExpectError('not a number in base 16', ToBase16, NaN, 6);
  ExpectError('a denormal number in base 16', ToBase16, 4.9E-324, 6);
  ExpectError('a tolerance that is not a number', WithTolerance, NaN, 6);
  ExpectError('an infinite position', Entry, Infinity, 6);
  ExpectError('a position that is not a number', Entry, NaN, 9);
  Expect('an infinite tolerance', WithTolerance, Infinity, '0');
  Expect('a third in base 60', ToBase60, 1 / 3, '0.20:00:00:00:00:00:00:00:00:29:22:11:13:54:22:');
  CallHost;
  WriteLn('float mask: done');
end.
