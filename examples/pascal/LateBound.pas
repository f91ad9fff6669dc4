{ A class whose members other programs reach by name, without a type library. }
unit LateBound;

{$ifdef fpc}{$mode delphi}{$endif}

interface

uses
  Windows, ActiveX, SysUtils, Variants;

type
  TLateBound = class(TInterfacedObject, IDispatch)
  private
    FNames: array of string;
  protected
    { False when there is no such member. }
    function ReadMember(const Name: string; out Value: OleVariant): Boolean; virtual; abstract;
    function WriteMember(const Name: string; const Value: OleVariant): Boolean; virtual;
  public
    constructor Create(const Names: array of string);
    function GetTypeInfoCount(out Count: Integer): HResult; stdcall;
    function GetTypeInfo(Index, LocaleID: Integer; out TypeInfo): HResult; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: Integer;
      DispIDs: Pointer): HResult; stdcall;
    function Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
  end;

implementation

constructor TLateBound.Create(const Names: array of string);
var
  Index: Integer;
begin
  SetLength(FNames, Length(Names));
  for Index := 0 to High(Names) do
    FNames[Index] := Names[Index];
end;

function TLateBound.WriteMember(const Name: string; const Value: OleVariant): Boolean;
begin
  Result := False;
end;

function TLateBound.GetTypeInfoCount(out Count: Integer): HResult; stdcall;
begin
  Count := 0;
  Result := S_OK;
end;

function TLateBound.GetTypeInfo(Index, LocaleID: Integer; out TypeInfo): HResult; stdcall;
begin
  Pointer(TypeInfo) := nil;
  Result := DISP_E_BADINDEX;
end;

function TLateBound.GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: Integer;
  DispIDs: Pointer): HResult; stdcall;
var
  Index: Integer;
begin
  PInteger(DispIDs)^ := DISPID_UNKNOWN;
  for Index := 0 to High(FNames) do
    if SameText(FNames[Index], string(WideString(PPWideChar(Names)^))) then
      PInteger(DispIDs)^ := Index + 1;
  if PInteger(DispIDs)^ = DISPID_UNKNOWN then
    Result := DISP_E_UNKNOWNNAME
  else
    Result := S_OK;
end;

function TLateBound.Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word;
  var Params; VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
var
  Value: OleVariant;
  Found: Boolean;
begin
  if (DispID < 1) or (DispID > Length(FNames)) then
    Exit(DISP_E_MEMBERNOTFOUND);
  try
    if Flags and DISPATCH_PROPERTYPUT <> 0 then
      Found := WriteMember(FNames[DispID - 1], OleVariant(TDispParams(Params).rgvarg^[0]))
    else
    begin
      Found := ReadMember(FNames[DispID - 1], Value);
      if VarResult <> nil then
        OleVariant(VarResult^) := Value;
    end;
    if Found then Result := S_OK else Result := DISP_E_MEMBERNOTFOUND;
  except
    on EVariantError do Result := DISP_E_TYPEMISMATCH;
  end;
end;

end.
