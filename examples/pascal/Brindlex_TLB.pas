{ The interfaces of Brindlex for early binding. Made from server/Brindlex.idl by
  tools/generate/make_pascal.py; not to be edited. }
unit Brindlex_TLB;

{$ifdef fpc}{$mode delphi}{$endif}

interface

uses ActiveX, ComObj;

const
  LIBID_Brindlex: TGUID = '{90E89859-3FAC-4C4B-8115-E34F4C404E17}';
  CLASS_clsCollection: TGUID = '{E67379C4-E3BA-4E77-BEA9-980B7E9EE5B9}';
  CLASS_clsTextData: TGUID = '{31AD6F27-6E85-4705-95E3-524CBA098FB3}';
  CLASS_clsCreateTextData: TGUID = '{5D4291B0-074E-43BD-879E-96CC9EA44AF7}';
  CLASS_clsCollectionSaveRestore: TGUID = '{1A689BDB-AFD6-4405-B9E2-DF8645612F48}';
  CLASS_clsEnvironment: TGUID = '{C8823580-F9E8-430A-A5C9-149D4CF96319}';
  CLASS_clsAppFiles: TGUID = '{03068CE9-1E2B-4905-831C-745F9AC7CA1E}';
  CLASS_clsBases: TGUID = '{7600A8BF-8481-42FF-A446-07A7435BBAD9}';

type
  _clsCollection = interface;
  _clsTextData = interface;
  _clsCreateTextData = interface;
  _clsCollectionSaveRestore = interface;
  _clsEnvironment = interface;
  _clsAppFiles = interface;
  _clsBases = interface;

  { An ordered collection with positions from 1 and optional keys that ignore letter case. }
  _clsCollection = interface(IDispatch)
    ['{FC246086-1E11-478A-9AF5-ED731C901ACE}']
    function Get_Item(Index: OleVariant): OleVariant; safecall;
    procedure Add(Item: OleVariant; Key: OleVariant; Before: OleVariant; After: OleVariant); safecall;
    function Get_Count: Integer; safecall;
    procedure Remove(Index: OleVariant); safecall;
    function Get__NewEnum: IUnknown; safecall;
    property Count: Integer read Get_Count;
    property _NewEnum: IUnknown read Get__NewEnum;
  end;

  { A named text: the component's own record. }
  _clsTextData = interface(IDispatch)
    ['{EE6D00D2-7998-4E3A-8199-4205D8D0DA28}']
    function Get_DataString: WideString; safecall;
    procedure Set_DataString(Value: WideString); safecall;
    function Get_Name: WideString; safecall;
    procedure Set_Name(Value: WideString); safecall;
    function GetMemberNames: _clsCollection; safecall;
    property DataString: WideString read Get_DataString write Set_DataString;
    property Name: WideString read Get_Name write Set_Name;
  end;

  { Makes new clsTextData records. }
  _clsCreateTextData = interface(IDispatch)
    ['{78438A06-B03B-494E-8FB1-95E5688996B0}']
    function GetNewObject: _clsTextData; safecall;
  end;

  { Saves collections of records as delimited text and restores them. }
  _clsCollectionSaveRestore = interface(IDispatch)
    ['{258AE42C-1320-4C24-A69B-C166187DCB0E}']
    function GetMemberNamesLate(MyObj: IDispatch): _clsCollection; safecall;
    function FieldNamesCollection(AsDelimitedString: WideString; RecordEndMarker: OleVariant; FieldEndMarker: OleVariant): _clsCollection; safecall;
    function ItemExists(MyCol: IDispatch; MyKey: WideString): WordBool; safecall;
    function AsDelimitedToCollection(SavedInfo: WideString; CreateObject: IDispatch; RecordEndMarker: OleVariant; FieldEndMarker: OleVariant; KeyProperty: OleVariant): _clsCollection; safecall;
    function GetObjectFromString(InputString: WideString; ObjectSample: IDispatch): IDispatch; safecall;
    function AsDelimitedFromObject(MyObj: IDispatch): WideString; safecall;
    function WorkingCol(CollectionName: WideString; MyCreator: IDispatch; WorkingColKey: OleVariant): _clsCollection; safecall;
    function MultiDataColString(var NewCol: IDispatch; var Name: WideString): WideString; safecall;
    function AsDelimitedFromCollection(MyObjects: IDispatch; RecordEndMarker: OleVariant; FieldEndMarker: OleVariant; CollectionName: OleVariant): WideString; safecall;
    function Get_MultiDataString: WideString; safecall;
    procedure Set_MultiDataString(Value: WideString); safecall;
    function Get_RefuseMarkers: WordBool; safecall;
    procedure Set_RefuseMarkers(Value: WordBool); safecall;
    function StoreCollection(NewCol: IDispatch; Name: WideString): WordBool; safecall;
    function RemoveCollection(Name: WideString): WordBool; safecall;
    function CollectionNames: _clsCollection; safecall;
    property MultiDataString: WideString read Get_MultiDataString write Set_MultiDataString;
    property RefuseMarkers: WordBool read Get_RefuseMarkers write Set_RefuseMarkers;
  end;

  { The release of Windows, the shell's special folders, and the listener to reports. }
  _clsEnvironment = interface(IDispatch)
    ['{DE5A481A-2A78-4C85-8349-B8BFD7044332}']
    function GetOsName: WideString; safecall;
    function IsWindowsVista: WordBool; safecall;
    function FindSystemFolder(csidl: Integer): WideString; safecall;
    function Get_ReportListener: IDispatch; safecall;
    procedure Set_ReportListener(Value: IDispatch); safecall;
    property ReportListener: IDispatch read Get_ReportListener write Set_ReportListener;
  end;

  { The settings folder that all users share, and whole text files saved and read. }
  _clsAppFiles = interface(IDispatch)
    ['{13BC7B31-B39D-4573-A2C0-506F64504D43}']
    procedure StartUp(HostObject: IDispatch; AppFolderName: WideString; CompanyFolderName: WideString); safecall;
    function GetWinSysDirFolder: IDispatch; safecall;
    function EnsureFolder(path: WideString): WordBool; safecall;
    function SettingsFolderAllUsers(var companyFolder: WideString): WideString; safecall;
    function SaveTextFile(path: WideString; text: WideString; quietIfDenied: WordBool): WordBool; safecall;
    function ReadTextFile(path: WideString; quietIfMissing: WordBool): WideString; safecall;
    function FileNameFromPath(path: WideString): WideString; safecall;
    procedure CopyFileKeepAttributes(source: WideString; destination: WideString); safecall;
    function SaveTextFileSafely(path: WideString; text: WideString; quietIfDenied: WordBool): WordBool; safecall;
  end;

  { Converts numbers between number bases. }
  _clsBases = interface(IDispatch)
    ['{C81AACF2-555D-4E7D-A5EB-51D0818D32C3}']
    function ConvertBase(Number: OleVariant; FromBase: Integer; ToBase: Integer; var MaxFractionDigits: Integer; var Tolerance: Double; var GroupSize: Integer): OleVariant; safecall;
    function ConvertDec2Base(Number: OleVariant; Base: Integer; var MaxFractionDigits: Integer; var Tolerance: Double; var GroupSize: Integer): WideString; safecall;
    function ConvertBase2Dec(Text: WideString; Base: Integer): Double; safecall;
    function ConvertDigit(Digit: Integer; Base: Integer): WideString; safecall;
    function DeconvertDigit(DigitText: WideString; Base: Integer): Integer; safecall;
  end;

function Create_clsCollection: _clsCollection;
function Create_clsTextData: _clsTextData;
function Create_clsCreateTextData: _clsCreateTextData;
function Create_clsCollectionSaveRestore: _clsCollectionSaveRestore;
function Create_clsEnvironment: _clsEnvironment;
function Create_clsAppFiles: _clsAppFiles;
function Create_clsBases: _clsBases;

implementation

function Create_clsCollection: _clsCollection;
begin
  Result := CreateComObject(CLASS_clsCollection) as _clsCollection;
end;

function Create_clsTextData: _clsTextData;
begin
  Result := CreateComObject(CLASS_clsTextData) as _clsTextData;
end;

function Create_clsCreateTextData: _clsCreateTextData;
begin
  Result := CreateComObject(CLASS_clsCreateTextData) as _clsCreateTextData;
end;

function Create_clsCollectionSaveRestore: _clsCollectionSaveRestore;
begin
  Result := CreateComObject(CLASS_clsCollectionSaveRestore) as _clsCollectionSaveRestore;
end;

function Create_clsEnvironment: _clsEnvironment;
begin
  Result := CreateComObject(CLASS_clsEnvironment) as _clsEnvironment;
end;

function Create_clsAppFiles: _clsAppFiles;
begin
  Result := CreateComObject(CLASS_clsAppFiles) as _clsAppFiles;
end;

function Create_clsBases: _clsBases;
begin
  Result := CreateComObject(CLASS_clsBases) as _clsBases;
end;

end.
